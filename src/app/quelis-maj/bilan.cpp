#include "bilan.h"

void AfficheBilan(std::ostream& out, const std::vector<launcher::BilanDossier>& bilan) {
  if (bilan.empty()) {
    out << "Aucun dossier de données traité.\n";
    return;
  }
  int reussis = 0, echecs = 0;
  for (const launcher::BilanDossier& d : bilan) {
    if (d.BaseTraitee) (d.BaseReussie ? reussis : echecs)++;
  }
  out << "Dossiers traités : " << bilan.size() << " (bases réussies : " << reussis
      << ", en échec : " << echecs << ")\n";
  for (const launcher::BilanDossier& d : bilan) {
    out << "  " << d.Chemin << " (" << d.Libelle << ") : ";
    std::string sep;
    if (d.BaseTraitee) {
      out << (d.BaseReussie ? "base réussie" : "base en échec");
      sep = ", ";
    }
    if (!d.Lettres.empty()) out << sep << "modèles de lettres : " << d.Lettres;
    else if (!d.BaseTraitee) out << "rien à faire";
    out << '\n';
    for (const auto& e : d.Erreurs) {
      out << "      Procédure : " << e.Procedure << ", erreur n° " << e.Numero << " : " << e.Description << '\n';
    }
    if (d.BaseTraitee && !d.BaseReussie && !d.JournalBase.empty()) {
      out << "      journal de la base : " << d.JournalBase << '\n';
    }
  }
}
