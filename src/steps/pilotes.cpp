// Document pilots: numbered layouts of import and export documents (PILOTE), their fields
// (PILOTEDESC), the field catalogue of each pilot type (PILOTEREF), the types (PILOTETYP)
// and the import jobs that use a pilot (JIMPORT). Numbers are two-digit texts, unique across
// types, compared as texts. Values go between single quotes as they are, except the labels,
// which TranslateToSQL quotes.
#include "steps/etapes.h"

namespace steps {
namespace {

namespace dao = schema::dao;
using dao::Variant;

std::string Texte(const Variant& v) { return v.IsNull() ? std::string() : v.CStr(); }

// A given optional value, Null or empty counting as not given.
bool Donne(const std::optional<std::string>& valeur) { return valeur && !valeur->empty(); }

}  // namespace

std::string EtapesMiseAJour::NumeroSuivant(const std::string& numero) {
  Variant suivant(std::to_string(Variant(numero).CInt() + 1));
  return Padlzone(suivant, "0", 2, "G").CStr();
}

bool EtapesMiseAJour::PiloteAjout(const std::string& cotpilote, const std::string& nupilote, const std::string& lipilote,
                                  const std::string& copilformat, const std::optional<std::string>& copilsepar,
                                  const std::optional<std::string>& copiltfic,
                                  const std::optional<std::string>& copilverr) {
  bool decales = false;
  piege("PiloteAjout", [&] {
    dao::Recordset rs = BaseEnCours().OpenRecordset("SELECT * FROM PILOTE WHERE nupilote >= '" + nupilote + "' ORDER BY nupilote");
    // Forward: the run of numbers taken from nupilote on, up to the first free one.
    std::string attendu = nupilote;
    bool libre = false;
    while (!rs.Eof() && !libre) {
      if (Texte(rs("nupilote")) != attendu) {
        libre = true;
      } else {
        rs.MoveNext();
        attendu = NumeroSuivant(attendu);
      }
    }
    // Backward from the last of the run: the highest number moves first. With no pilot at
    // nupilote or above the set is empty and stepping back fails (3021), as it always has.
    rs.MovePrevious();
    while (!rs.Bof()) {
      const std::string numero = Texte(rs("nupilote"));
      PiloteRenumeroter(numero, NumeroSuivant(numero));
      decales = true;
      rs.MovePrevious();
    }
    PiloteCreation(cotpilote, nupilote, lipilote, copilformat, copilsepar, copiltfic, copilverr);
    rs.Close();
  });
  return decales;
}

void EtapesMiseAJour::PiloteRenumeroter(const std::string& ancien, const std::string& nouveau) {
  piege("PiloteRenumeroter", [&] {
    dao::Recordset rs = BaseEnCours().OpenRecordset("SELECT * FROM PILOTE WHERE nupilote = '" + ancien + "'");
    const auto optionnel = [&](const char* champ) -> std::optional<std::string> {
      const Variant v = rs(champ);
      return v.IsNull() ? std::nullopt : std::optional<std::string>(v.CStr());
    };
    PiloteCreation(Texte(rs("Cotpilote")), nouveau, Texte(rs("lipilote")), Texte(rs("copilformat")),
                   optionnel("copilsepar"), optionnel("copiltfic"), optionnel("copilverr"));
    rs.Close();
    BaseEnCours().Execute("UPDATE PILOTEDESC SET nupilote = '" + nouveau + "' WHERE nupilote = '" + ancien + "'",
                          dao::dbFailOnError);
    BaseEnCours().Execute("UPDATE JIMPORT SET nupilote = '" + nouveau + "' WHERE nupilote = '" + ancien + "'",
                          dao::dbFailOnError);
    BaseEnCours().Execute("DELETE * FROM PILOTE WHERE nupilote = '" + ancien + "'", dao::dbFailOnError);
    EcritJournalBase(" - Renumérotation du pilote " + ancien + " en pilote " + nouveau + " : Ok");
  });
}

void EtapesMiseAJour::PiloteCreation(const std::string& cotpilote, const std::string& nupilote,
                                     const std::string& lipilote, const std::string& copilformat,
                                     const std::optional<std::string>& copilsepar,
                                     const std::optional<std::string>& copiltfic,
                                     const std::optional<std::string>& copilverr) {
  piege("PiloteCreation", [&] {
    std::string colonnes = "INSERT INTO PILOTE (cotpilote, nupilote, lipilote, copilformat";
    std::string valeurs = " VALUES ('" + cotpilote + "', '" + nupilote + "', " + Litteral(lipilote) + ", '" + copilformat + "'";
    if (Donne(copilsepar)) {
      colonnes += ", copilsepar";
      // A vertical bar cannot stand inside a quoted text of Jet's SQL.
      valeurs += ", " + (*copilsepar == "|" ? std::string("chr(124)") : "'" + *copilsepar + "'");
    }
    if (Donne(copiltfic)) {
      colonnes += ", copiltfic";
      valeurs += ", '" + *copiltfic + "'";
    }
    if (Donne(copilverr)) {
      colonnes += ", copilverr";
      valeurs += ", '" + *copilverr + "'";
    }
    BaseEnCours().Execute(colonnes + ")" + valeurs + ")", dao::dbFailOnError);
    EcritJournalBase(" - Création pilote " + cotpilote + " " + nupilote + " dans table PILOTE : Ok");
  });
}

void EtapesMiseAJour::PiloteDescVarAjoutDonnes(const std::string& cotpilote, const std::string& nupilote,
                                               const std::string& codpichamp, std::int16_t qudpidlong,
                                               std::int16_t nudpicord, const std::optional<std::string>& codpidform) {
  piege("PiloteDescVarAjoutDonnes", [&] {
    const bool neant = codpichamp == "NEANT";
    const std::string ordre = std::to_string(nudpicord);
    const std::string pilote = "WHERE cotpilote = '" + cotpilote + "' AND nupilote = '" + nupilote + "' AND codpichamp ='" + codpichamp + "'";
    // An empty slot is told from the others by its order number.
    dao::Recordset rs = BaseEnCours().OpenRecordset(
        neant ? "SELECT cotpilote, nupilote, codpichamp, nudpicord FROM PILOTEDESC " + pilote + " AND nudpicord =" + ordre
              : "SELECT cotpilote, nupilote, codpichamp FROM PILOTEDESC " + pilote);
    const std::string debut = " - Ajout enregistrement " + cotpilote + " " + nupilote + " " + codpichamp;
    if (rs.Eof()) {
      const std::string cle = " VALUES ('" + cotpilote + "', '" + nupilote + "', '" + codpichamp + "', ";
      if (neant) {
        BaseEnCours().Execute("INSERT INTO PILOTEDESC (cotpilote, nupilote, codpichamp, nudpicord)" + cle + ordre + ")",
                              dao::dbFailOnError);
      } else if (!codpidform) {
        BaseEnCours().Execute("INSERT INTO PILOTEDESC (cotpilote, nupilote, codpichamp, qudpidlong, nudpicord)" + cle +
                                  std::to_string(qudpidlong) + ", " + ordre + ")",
                              dao::dbFailOnError);
      } else {
        BaseEnCours().Execute("INSERT INTO PILOTEDESC (cotpilote, nupilote, codpichamp, qudpidlong, codpidform, nudpicord)" +
                                  cle + std::to_string(qudpidlong) + ", '" + *codpidform + "', " + ordre + ")",
                              dao::dbFailOnError);
      }
      EcritJournalBase(debut + " dans table PILOTEDESC : Ok");
    } else {
      EcritJournalBase(debut + " dans table PILOTEDESC : Déjà présent");
    }
    rs.Close();
  });
}

void EtapesMiseAJour::PiloteDescSuppDonnees(const std::string& cotpilote, const std::string& codpichamp) {
  piege("PiloteDescSuppDonnes", [&] {
    dao::Recordset rs = BaseEnCours().OpenRecordset(
        "SELECT pd.cotpilote, pd.nupilote, pd.codpichamp, p.lipilote, p.copilformat, pr.lirpichamp "
        "FROM pilotedesc pd, pilote p, piloteref pr WHERE pd.cotpilote = '" + cotpilote + "' AND pd.codpichamp ='" +
        codpichamp + "' " +
        "AND pd.cotpilote = p.cotpilote AND pd.nupilote = p.nupilote AND pd.cotpilote = pr.cotpilote AND pd.codpichamp "
        "= pr.corpichamp " +
        "ORDER BY pd.cotpilote, pd.nupilote");
    while (!rs.Eof()) {
      const std::string conditions = "WHERE cotpilote = '" + Texte(rs("cotpilote")) + "' AND nupilote = '" +
                                     Texte(rs("nupilote")) + "' AND codpichamp = '" + Texte(rs("codpichamp")) + "'";
      // A fixed-format pilot loses the row; any other keeps an empty slot at the same order.
      if (Texte(rs("copilformat")) == "F") {
        BaseEnCours().Execute("DELETE FROM pilotedesc " + conditions, dao::dbFailOnError);
      } else {
        BaseEnCours().Execute("UPDATE pilotedesc SET codpichamp = 'NEANT', qudpidlong = null " + conditions,
                              dao::dbFailOnError);
      }
      rs.MoveNext();
    }
    rs.Close();
  });
}

void EtapesMiseAJour::PiloteDescMajNumOrdre(const std::string& cotpilote, const std::string& nupilote,
                                            const std::string& codpichamp, std::int16_t ordre) {
  piege("PiloteDescMajNumOrdre", [&] {
    BaseEnCours().Execute("UPDATE PILOTEDESC SET nudpicord = " + std::to_string(ordre) + " WHERE cotpilote = '" +
                              cotpilote + "' AND nupilote = '" + nupilote + "' AND codpichamp = '" + codpichamp + "'",
                          dao::dbFailOnError);
    EcritJournalBase(" - Mise à jour numéro d'ordre du champ " + cotpilote + " " + nupilote + " " + codpichamp +
                     " dans table PILOTEDESC : Ok");
  });
}

void EtapesMiseAJour::PiloteSuppression(const std::string& cotpilote, const std::string& nupilote) {
  piege("PiloteSuppression", [&] {
    const std::string conditions = " WHERE cotpilote = '" + cotpilote + "' AND nupilote = '" + nupilote + "'";
    const std::string pilote = cotpilote + " " + nupilote;
    BaseEnCours().Execute("DELETE FROM PILOTEDESC" + conditions, dao::dbFailOnError);
    EcritJournalBase(" - Suppression pilote " + pilote + " dans table PILOTEDESC : Ok");
    BaseEnCours().Execute("DELETE FROM PILOTE" + conditions, dao::dbFailOnError);
    EcritJournalBase(" - Suppression pilote " + pilote + " dans table PILOTE : Ok");
    BaseEnCours().Execute("UPDATE JIMPORT SET nupilote = null" + conditions, dao::dbFailOnError);
    EcritJournalBase(" - Suppression références au pilote " + pilote + " dans table JIMPORT : Ok");
  });
}

void EtapesMiseAJour::PiloteRefCreationDonnees(const std::string& cotpilote, const std::string& corpichamp,
                                               const std::string& lirpichamp, const ChampRefOptions& options) {
  piege("PiloteRefCreationDonnees", [&] {
    dao::Recordset rs = BaseEnCours().OpenRecordset("SELECT cotpilote, corpichamp FROM PILOTEREF WHERE cotpilote = '" +
                                                    cotpilote + "' AND corpichamp ='" + corpichamp + "'");
    const std::string debut = " - Ajout enregistrement " + cotpilote + " " + corpichamp;
    if (rs.Eof()) {
      std::string colonnes = "INSERT INTO PILOTEREF (cotpilote, corpichamp, lirpichamp";
      std::string valeurs = " VALUES ('" + cotpilote + "', '" + corpichamp + "', " + Litteral(lirpichamp);
      const auto texte = [&](const char* colonne, const std::optional<std::string>& v) {
        if (!v) return;
        colonnes += std::string(", ") + colonne;
        valeurs += ", '" + *v + "'";
      };
      texte("corpictgen", options.corpictgen);
      if (options.qurpiclong) {
        colonnes += ", qurpiclong";
        valeurs += ", " + std::to_string(*options.qurpiclong);
      }
      texte("corpictsql", options.corpictsql);
      texte("corpicoblig", options.corpicoblig);
      texte("lirpicform", options.lirpicform);
      BaseEnCours().Execute(colonnes + ")" + valeurs + ")", dao::dbFailOnError);
      EcritJournalBase(debut + " dans table PILOTEREF : Ok");
    } else {
      EcritJournalBase(debut + " dans table PILOTEREF : Déjà présent");
    }
    rs.Close();
  });
}

void EtapesMiseAJour::PiloteRefSuppressionDonnees(const std::string& cotpilote, const std::string& corpichamp) {
  // Its errors carry the creation's name, as the application has always reported them.
  piege("PiloteRefCreationDonnees", [&] {
    BaseEnCours().Execute("DELETE FROM PILOTEREF WHERE cotpilote = '" + cotpilote + "' AND corpichamp = '" + corpichamp + "'",
                          dao::dbFailOnError);
    EcritJournalBase(" - suppression donnée " + corpichamp + " dans table PILOTEREF : OK");
  });
}

void EtapesMiseAJour::PiloteRefModifDonnees(const std::string& cotpilote, const std::string& corpichamp,
                                            std::int16_t qurpiclong, const std::string& lirpichamp) {
  piege("PiloteRefModifDonnees", [&] {
    BaseEnCours().Execute("UPDATE PILOTEREF SET qurpiclong = " + std::to_string(qurpiclong) + ", lirpichamp = " +
                              Litteral(lirpichamp) + " WHERE cotpilote = '" + cotpilote + "' AND corpichamp = '" +
                              corpichamp + "'",
                          dao::dbFailOnError);
    EcritJournalBase(" - modification donnée " + corpichamp + " dans table PILOTEREF : OK");
  });
}

void EtapesMiseAJour::PiloteTypAjout(const std::string& cotpilote, const std::string& valeur2) {
  piege("PiloteTypAjout", [&] {
    const std::string code = Litteral(cotpilote);
    dao::Recordset rs = BaseEnCours().OpenRecordset("SELECT * FROM PILOTETYP WHERE cotpilote = " + code);
    if (rs.Eof()) {
      BaseEnCours().Execute("INSERT INTO PILOTETYP VALUES (" + code + "," + Litteral(valeur2) + ")", dao::dbFailOnError);
      EcritJournalBase(" - Ajout type pilote " + cotpilote + " : OK");
    } else {
      EcritJournalBase(" - Ajout type pilote " + cotpilote + " : existe déjà");
    }
    rs.Close();
  });
}

}  // namespace steps
