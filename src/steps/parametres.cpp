// Parameter and search rows added when their code is missing, and the 6443 works code change.
// The arguments become SQL literals through TranslateToSQL read as text: quotes doubled.
#include "steps/etapes.h"

namespace steps {

using schema::dao::dbFailOnError;

void EtapesMiseAJour::AjouteSiAbsent(const std::string& procedure, const std::string& table,
                                     const std::string& colonneCode, const std::string& libelleLigne,
                                     const std::vector<std::string>& valeurs) {
  piege(procedure, [&] {
    const std::string code = Litteral(valeurs.front());
    schema::dao::Recordset rs = BaseEnCours().OpenRecordset("SELECT * FROM " + table + " WHERE " + colonneCode + " = " + code);
    std::string ligne;
    if (rs.Eof()) {
      std::string liste = code;
      for (std::size_t i = 1; i < valeurs.size(); ++i) liste += "," + Litteral(valeurs[i]);
      BaseEnCours().Execute("INSERT INTO " + table + " VALUES (" + liste + ")", dbFailOnError);
      ligne = libelleLigne + valeurs.front() + " : OK";
    } else {
      ligne = libelleLigne + valeurs.front() + " : existe déjà";
    }
    EcritJournalBase(ligne);
    rs.Close();
  });
}

void EtapesMiseAJour::AjoutTableParametre(const std::string& code, const std::string& valeur2,
                                          const std::string& valeur3) {
  AjouteSiAbsent("AjoutTableParametre", "PARAMETRE", "coparam", " - Ajout paramètre ", {code, valeur2, valeur3});
}

void EtapesMiseAJour::AjoutTableRecherche(const std::string& code, const std::string& valeur2,
                                          const std::string& valeur3) {
  AjouteSiAbsent("AjoutTableRecherche", "RECHERCHE", "corec", " - Ajout recherche ", {code, valeur2, valeur3});
}

void EtapesMiseAJour::AjoutTableRechercheVsl(const std::string& code, const std::string& valeur2,
                                             const std::string& valeur3, const std::string& valeur4) {
  AjouteSiAbsent("AjoutTableRechercheVsl", "RECHERCHEVSL", "corec", " - Ajout recherche Vsl ",
                 {code, valeur2, valeur3, valeur4});
}

void EtapesMiseAJour::Etat6443TravauxEquipementsModifCodeChantier(const std::string& ancien,
                                                                  const std::string& nouveau) {
  piege("Etat6443TravauxEquipementsModifCodeChantier", [&] {
    BaseEnCours().Execute("update 6443INDE set COI6ECHANT = " + Litteral(nouveau) + " where COI6ECHANT = " +
                              Litteral(ancien),
                          dbFailOnError);
    EcritJournalBase(" - Changement des chantiers '" + ancien + "' en '" + nouveau + "' : Ok");
  });
}

}  // namespace steps
