// Code-table rows added when missing. The statements put codes and labels between quotes as
// they come, so an apostrophe in a label makes Jet refuse the statement; AjoutDataPAYS and
// AjoutImprime alone build their literal with TranslateToSQL. A row already there is left as
// it is.
#include "steps/etapes.h"

namespace steps {

using schema::dao::dbFailOnError;
using schema::dao::dbOpenSnapshot;

void EtapesMiseAJour::AjouteSiManquant(const std::string& procedure, const std::string& test,
                                       const std::string& insertion, const std::string& ajoute,
                                       const std::optional<std::string>& present) {
  piege(procedure, [&] {
    schema::dao::Recordset rs = BaseEnCours().OpenRecordset(test, dbOpenSnapshot);
    if (rs.Eof()) {
      BaseEnCours().Execute(insertion, dbFailOnError);
      EcritJournalBase(ajoute);
    } else if (present) {
      EcritJournalBase(*present);
    }
    rs.Close();
  });
}

namespace {

const std::string kAjout = " - Ajout enregistrement ";

std::string Ok(const std::string& valeur, const std::string& table) {
  return kAjout + valeur + " dans table " + table + " : Ok";
}
std::string Present(const std::string& valeur, const std::string& table) {
  return kAjout + valeur + " dans table " + table + " : Déjà présent";
}

}  // namespace

void EtapesMiseAJour::AjoutDataPAYS(const std::string& code, const std::string& libelle) {
  AjouteSiManquant("AjoutDataPAYS", "SELECT COPAYS, LIPAYS FROM PAYS " + ("WHERE COPAYS = '" + code + "'"),
                   "INSERT INTO PAYS (COPAYS, LIPAYS)" + (" VALUES ('" + code + "', " + Litteral(libelle) + ")"),
                   Ok(libelle, "PAYS"), Present(libelle, "PAYS"));
}

void EtapesMiseAJour::AjoutDataTYPEAUT(const std::string& code, const std::string& libelle) {
  AjouteSiManquant("AjoutDataTYPEAUT",
                   "SELECT COAUT, LIAUT FROM TYPAUT " + ("WHERE COAUT = '" + code + "' AND LIAUT = '" + libelle + "' "),
                   "INSERT INTO TYPAUT (COAUT, LIAUT)" + (" VALUES ('" + code + "', '" + libelle + "')"),
                   Ok(libelle, "TYPAUT"), Present(libelle, "TYPEAUT"));
}

void EtapesMiseAJour::AjoutMotifAnnulPermis(std::int16_t code, const std::string& libelle) {
  const std::string c = std::to_string(code);
  AjouteSiManquant("AjoutMotifAnnulPermis",
                   "SELECT COMANNUL, LIMANNUL FROM TYPMANNUL WHERE " + ("COMANNUL = '" + c + "' AND LIMANNUL ='" + libelle + "'"),
                   "INSERT INTO TYPMANNUL(COMANNUL, LIMANNUL) VALUES('" + c + "','" + libelle + "') ",
                   Ok(libelle, "TYPMANNUL"), Present(libelle, "TYPMANNUL"));
}

void EtapesMiseAJour::MAJCodeNatureTravaux(const std::string& code, const std::string& libelle,
                                           const std::string& codeTopo, const std::string& codeVerr) {
  AjouteSiManquant("MAJCodeNatureTravaux", "SELECT CONTRAV,LINTRAV FROM NATTRAV WHERE " + ("CONTRAV = '" + code + "' "),
                   "INSERT INTO NATTRAV(CONTRAV, LINTRAV, CONTRTOPO, CONTRVERR) " +
                       (" VALUES('" + code + "' , '" + libelle + "', '" + codeTopo + "', '" + codeVerr + "') "),
                   Ok(libelle, "NATTRAV"), std::nullopt);
}

void EtapesMiseAJour::AjoutTypeUtill(std::int16_t code, const std::string& libelle) {
  const std::string c = std::to_string(code);
  AjouteSiManquant("AjoutTypeUtill", "SELECT COUTILL FROM TYPUTILL WHERE " + ("COUTILL = '" + c + "' "),
                   "INSERT INTO TYPUTILL(COUTILL, LIUTILL) VALUES('" + c + "','" + libelle + "') ",
                   Ok(libelle, "TYPUTILL"), Present(libelle, "TYPUTILL"));
}

void EtapesMiseAJour::AjoutNatLog(std::int16_t code, const std::string& libelle) {
  const std::string c = std::to_string(code);
  AjouteSiManquant("AjoutNatLog", "SELECT CONLOG FROM TYPNATLOG WHERE " + ("CONLOG = '" + c + "' "),
                   "INSERT INTO TYPNATLOG(CONLOG, LINLOG) VALUES('" + c + "','" + libelle + "') ",
                   Ok(libelle, "TYPNATLOG"), Present(libelle, "TYPNATLOG"));
}

void EtapesMiseAJour::AjoutImprime(const std::string& code) {
  AjouteSiManquant("AjoutImprime ", "SELECT coimprime FROM typimprime where coimprime = " + Litteral(code),
                   "INSERT INTO typimprime (coimprime) VALUES (" + Litteral(code) + ")",
                   " - Ajout imprimé " + code + " : Ok", " - Ajout imprimé " + code + " : déjà présent");
}

void EtapesMiseAJour::AjoutDataImpression(const std::string& code, const std::string& libelle,
                                          const std::string& rang, const std::optional<std::string>& total,
                                          const std::optional<std::string>& precedent,
                                          const std::optional<std::string>& publication) {
  std::string colonnes = "INSERT INTO IMPRESSION (coimp, liimp, coimprang";
  std::string valeurs = " VALUES ('" + code + "', '" + libelle + "', '" + rang + "'";
  for (const auto& [colonne, valeur] : {std::pair{", coimptot", &total}, std::pair{", coimppre", &precedent},
                                        std::pair{", coimppub", &publication}}) {
    if (!*valeur) continue;
    colonnes += colonne;
    valeurs += ", '" + **valeur + "'";
  }
  AjouteSiManquant("AjoutDataImpression", "SELECT coimp FROM IMPRESSION WHERE coimp = '" + code + "'",
                   colonnes + ")" + valeurs + ")", Ok(code, "IMPRESSION"), Present(code, "IMPRESSION"));
}

void EtapesMiseAJour::AjoutDataEtat(const std::string& code, const std::string& libelle,
                                    const std::string& codeImpression, const std::string& typeEtat) {
  AjouteSiManquant("AjoutDataEtat", "SELECT coetat FROM ETAT WHERE coetat = '" + code + "'",
                   "INSERT INTO ETAT (coetat, lietat, coimp, coetatyp)" +
                       (" VALUES ('" + code + "', '" + libelle + "', '" + codeImpression + "', '" + typeEtat + "')"),
                   Ok(code, "ETAT"), Present(code, "ETAT"));
}

void EtapesMiseAJour::AjoutDataDSF(const std::string& departement, const std::string& direction,
                                   const std::string& libelleDirection, const std::string& service,
                                   const std::string& grade, const std::string& nom, const std::string& telephone) {
  AjouteSiManquant(
      "AjoutDataSDF",
      "SELECT CODSFDEP, CODSFDEP FROM DSF WHERE" + ("CODSFDEP = '" + departement + "' AND CODSFDIR ='" + direction + "'"),
      "INSERT INTO DSF (CODSFDEP, CODSFDEP, LIDSFDIR, LIDSFSERVC, LIDSFGRADC, LIDSFNOMC, NUDSFTELC)" +
          (" VALUES ('" + departement + "', '" + direction + "', '" + libelleDirection + "', '" + service + "', '" +
           grade + "', '" + nom + "', '" + telephone + "')"),
      Ok(libelleDirection, "DSF"), Present(libelleDirection, "DSF"));
}

void EtapesMiseAJour::AjoutDataSectFonc(const std::string& secteur, const std::string& departement,
                                        const std::string& direction, const std::string& cdif,
                                        const std::string& agent, const std::string& libelle,
                                        const std::string& telephone) {
  AjouteSiManquant("AjoutDataSectFonc", "SELECT COSECTF FROM SECTFONC WHERE" + ("COSECTF = '" + secteur + "'"),
                   "INSERT INTO SECTFONC (COSECTF, COCDIDEP, COCDIDIR, COCDIF, COAGENT, LISECTF, NUSECTEL)" +
                       (" VALUES ('" + secteur + "', '" + departement + "', '" + direction + "', '" + cdif + "', '" +
                        agent + "', '" + libelle + "', '" + telephone + "')"),
                   Ok(libelle, "SECTFONC"), Present(libelle, "SECTFONC"));
}

void EtapesMiseAJour::AjoutDataINSPECTION(const std::string& table, const std::string& inspection,
                                          const std::string& departement, const std::string& direction,
                                          const std::string& cdif, const std::string& agent,
                                          const std::string& telephone) {
  AjouteSiManquant("AjoutDataINSPECTION", "SELECT COINSP FROM " + table + "  WHERE COINSP = '" + inspection + "'",
                   "INSERT INTO " + table + " (COINSP, COCDIDEP, COCDIDIR, COCDIF, COAGENT, NUINSTEL)" +
                       (" VALUES ('" + inspection + "', '" + departement + "', '" + direction + "', '" + cdif +
                        "', '" + agent + "', '" + telephone + "')"),
                   Ok(inspection, table), Present(inspection, table));
}

}  // namespace steps
