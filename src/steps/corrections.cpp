// The single-statement corrections, the record edits and the structure steps.
#include "steps/etapes.h"

namespace steps {

using schema::dao::dbFailOnError;
using schema::dao::dbOpenDynaset;
using schema::dao::dbOpenTable;
using schema::dao::Variant;

std::string Litteral(const std::string& texte) { return schema::TranslateToSQL(Variant(texte), schema::vbString); }

void EtapesMiseAJour::MAJCDIF_HEURESRECEPT() {
  piege("MAJCDIF_HEURESRECEPT", [&] {
    BaseEnCours().Execute(std::string("UPDATE CDIF SET LICDIHEUR = rtrim(LICDIHEUR) + '") + " et sur rendez-vous" + "' ",
                          dbFailOnError);
    EcritJournalBase(" - Modification enregistrement LICDIHEUR table CDIF : Ok");
  });
}

void EtapesMiseAJour::MajEnregLibelleTravaux0() {
  piege("MajEnregLibelleTravaux0", [&] {
    BaseEnCours().Execute("UPDATE PERMIS SET LIPERDT = Right(LIPERDT, (Len(LIPERDT) - 1)) WHERE LIPERDT LIKE '0*'",
                          dbFailOnError);
    EcritJournalBase(" - Modification enregistrements LIPERDT de la table PERMIS de type '0*' : Ok");
  });
}

void EtapesMiseAJour::MajCritereSHON() {
  piege("MajCritereSHON", [&] {
    // No blank before WHERE: Jet reads the closing parenthesis as the end of the expression.
    BaseEnCours().Execute(
        "UPDATE MC_DONNEE SET mdlibelle = 'Surface de plancher' & RIGHT(mdlibelle, (LEN(mdlibelle) - 4))WHERE "
        "mdlibelle LIKE '*SHON*'",
        dbFailOnError);
    EcritJournalBase(" - Modification mdlibelle contenant 'SHON' : Ok");
  });
}

void EtapesMiseAJour::ModifiePremier(const std::string& sql, const std::string& champ, const std::string& valeur) {
  schema::dao::Recordset rs = BaseEnCours().OpenRecordset(sql, dbOpenDynaset);
  rs.Edit();
  rs.Fields(champ).SetValue(Variant(valeur));
  rs.Update();
  rs.Close();
}

void EtapesMiseAJour::ModifieTous(const std::string& sql, const std::string& champ, const std::string& valeur) {
  schema::dao::Recordset rs = BaseEnCours().OpenRecordset(sql, dbOpenDynaset);
  while (!rs.Eof()) {
    rs.Edit();
    rs.Fields(champ).SetValue(Variant(valeur));
    rs.Update();
    rs.MoveNext();
  }
  rs.Close();
}

void EtapesMiseAJour::MajChampLibelleTravaux() {
  piege("MajChampLibelleTravaux", [&] {
    ModifiePremier("SELECT mdlibelle FROM MC_DONNEE WHERE mdcode = ('PERMIS.LIPERDT')", "mdlibelle",
                   "Libellé des travaux");
  });
}

void EtapesMiseAJour::MajChampLibelleTravauxPilote() {
  piege("MajChampLibelleTravauxPilote", [&] {
    ModifiePremier("SELECT LIRPICHAMP FROM PILOTEREF WHERE CORPICHAMP = ('LIPERDT')", "LIRPICHAMP",
                   "Libellé des travaux");
  });
}

void EtapesMiseAJour::MajAppPlanGeo() {
  ModifieTous("SELECT * FROM AGENT WHERE COAGETYP IN ('2','3')", "coageappplan", "1");
}

void EtapesMiseAJour::MajLettre2MiseEnDemeure() {
  ModifieTous("SELECT * FROM LETTREFICHE WHERE COLFIFORM = '4'", "active", "0");
}

void EtapesMiseAJour::CreerTablePREFIXEFICTIF() {
  piege("CreerTablePREFIXEFICTIF", [&] {
    schema::dao::TableDef table = BaseEnCours().CreateTableDef("PREFIXEFIC");
    for (const auto& [nom, taille] : {std::pair{"FICCNE", 3}, std::pair{"FICPREF", 3}, std::pair{"FICSECT", 2},
                                      std::pair{"FICSEL", 2}}) {
      table.Fields().Append(table.CreateField(nom, schema::dao::dbText, taille));
    }
    BaseEnCours().TableDefs().Append(table);
    EcritJournalBase(" - Création de la table PREFIXEFIC : Ok");
  });
}

void EtapesMiseAJour::CreationChampBlocNoteTopoFiche() {
  CreChamp("FICHE", "RMTOPONOTE", "12", 0);  // tests the field first, traps and logs itself
}

void EtapesMiseAJour::CreationChampBlocNoteTopoImportFiche() {
  CreChamp("IMPORTFICHE", "RMTOPONOTE", "12", 0);
}

void EtapesMiseAJour::ModificationBlocNotePilote() {
  piege("ModificationTableMulticritereBlocNote", [&] {
    ModifiePremier("SELECT lirpichamp FROM PILOTEREF WHERE corpichamp = ('RMFICNOTE')", "LIRPICHAMP",
                   "Bloc-notes fiscal");
    schema::dao::Recordset rs = BaseEnCours().OpenRecordset("PILOTEREF", dbOpenTable);
    rs.AddNew();
    rs.Fields("cotpilote").SetValue(Variant("FICHE"));
    rs.Fields("corpichamp").SetValue(Variant("RMTOPONOTE"));
    rs.Fields("lirpichamp").SetValue(Variant("Bloc-notes topo"));
    rs.Fields("corpictgen").SetValue(Variant("M"));
    rs.Fields("qurpiclong").SetValue(Variant::Null());
    rs.Fields("corpictsql").SetValue(Variant("LONGTEXT"));
    rs.Fields("corpicoblig").SetValue(Variant::Null());
    rs.Fields("lirpicform").SetValue(Variant::Null());
    rs.Update();
    rs.Close();
  });
}

}  // namespace steps
