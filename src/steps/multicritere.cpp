// The multi-criteria search's criteria (MC_DONNEE): the case-record and permit criteria of
// an earlier release, and the two note-pad criteria. Rows are only appended: a second run
// adds them again, or fails on a unique index of the table.
#include <array>
#include <optional>

#include "steps/etapes.h"

namespace steps {
namespace {

namespace dao = schema::dao;
using dao::Variant;

struct Critere {
  std::string racine;  // mdracine and mdtable
  std::string code;
  std::string libelle;
  std::optional<std::string> liste;
};

Variant TexteOuNull(const std::optional<std::string>& texte) { return texte ? Variant(*texte) : Variant::Null(); }

// Sets the fifteen fields in the table's order, those the criterion does not give to Null.
void AjouteCritere(dao::Recordset& rs, const Critere& c) {
  rs.AddNew();
  rs.Fields("mdvue").SetValue(Variant("FICHE"));
  rs.Fields("mdracine").SetValue(Variant(c.racine));
  rs.Fields("mdnuordre").SetValue(Variant(static_cast<std::int16_t>(0)));
  rs.Fields("mdtable").SetValue(Variant(c.racine));
  rs.Fields("mdcode").SetValue(Variant(c.code));
  rs.Fields("mdlibelle").SetValue(Variant(c.libelle));
  rs.Fields("mdliste").SetValue(TexteOuNull(c.liste));
  rs.Fields("mdtype").SetValue(Variant("C"));
  rs.Fields("mdlistedon").SetValue(Variant::Null());
  rs.Fields("mdlistecrit").SetValue(Variant("1"));
  for (const char* champ : {"mdlistetri", "mddflt", "mdpadlong", "mdpadcar", "mdpadsens"}) {
    rs.Fields(champ).SetValue(Variant::Null());
  }
  rs.Update();
}

}  // namespace

void EtapesMiseAJour::MC_AjoutModif() {
  piege("MC_AjoutModif", [&] {
    dao::Recordset rs = BaseEnCours().OpenRecordset("MC_DONNEE", dao::dbOpenTable);
    const Critere simples[] = {
        {"FICHE", "FICHE.LIFICEMAIL", "Demandeur - Adresse de messagerie", std::nullopt},
        {"FICHE", "FICHE.QUFICNBLOTS", "Nombre de lots", std::nullopt},
        {"FICHE", "FICHE.QUFICSURFLOTS", "Surface totale des lots", std::nullopt},
        {"PERMIS", "PERMIS.COPEREQUIV", "Equivalence", std::nullopt},
        {"PERMIS", "PERMIS.COPERDESTCOLL", "Destination des ouvrages d'intérêt collectif",
         "select codestcoll as code,lidestcoll as libelle from typdestcoll where codestcoll <> ''"},
        {"PERMIS", "PERMIS.COPERSIRET", "Code SIRET", std::nullopt},
    };
    for (const Critere& c : simples) AjouteCritere(rs, c);
    // Nine rows per surface criterion: the digit ends both the code and the label.
    const std::array<std::pair<const char*, const char*>, 6> repetes{{
        {"PERMIS.QUPERSEX", "SHON existante avant travaux "},
        {"PERMIS.QUPERSDEM", "SHON démolie "},
        {"PERMIS.QUPERSSUPD", "SHON supprimée par changement de destination "},
        {"PERMIS.QUPERSCRED", "SHON créée par changement de destination "},
        {"PERMIS.QUPERSCST", "SHON construite "},
        {"PERMIS.QUPERSTFT", "SHON créée par transformation de SHOB "},
    }};
    for (const auto& [code, libelle] : repetes) {
      for (int i = 1; i <= 9; ++i) {
        AjouteCritere(rs, {"PERMIS", code + std::to_string(i), libelle + std::to_string(i), std::nullopt});
      }
    }
    for (const char* code : {"PERMIS.COPERAPET", "PERMIS.COPERDESTL", "PERMIS.COPERUTILNH"}) {
      BaseEnCours().Execute(
          std::string("UPDATE MC_DONNEE SET MDLISTECRIT = Null WHERE MDVUE = 'FICHE' AND MDCODE='") + code + "' ",
          dao::dbFailOnError);
    }
    rs.Close();
  });
}

void EtapesMiseAJour::ModificationTableMulticritereBlocNote() {
  piege("ModificationTableMulticritereBlocNote", [&] {
    ModifiePremier("SELECT mdlibelle FROM MC_DONNEE WHERE mdcode = ('FICHE.RMFICNOTE')", "mdlibelle",
                   "Bloc-notes fiscal");
    dao::Recordset rs = BaseEnCours().OpenRecordset("MC_DONNEE", dao::dbOpenTable);
    AjouteCritere(rs, {"FICHE", "FICHE.RMTOPONOTE", "Bloc-notes topo", std::nullopt});
    rs.Close();
  });
}

}  // namespace steps
