// The whole catalogue of update steps of earlier releases, in a sensible order, on the
// reference application database with 10,000 case records (or the number given), in one
// transaction, as a next release's script would run them. Prints the time to build the
// database, the time of the run and of its slowest steps, the errors the steps reported (a
// step that finds nothing to do or meets data it refuses reports, as it always has), and
// the peak memory. Prints figures only; never fails.
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "platform/dao/dao.h"
#include "platform/workstation.h"
#include "sample/reference_database.h"
#include "steps/catalogue.h"

namespace {

using Clock = std::chrono::steady_clock;
namespace dao = platform::dao;

double seconds_since(Clock::time_point start) { return std::chrono::duration<double>(Clock::now() - start).count(); }

long peak_kb() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return usage.ru_maxrss;
}

// The wait form as far as the steps see it: the open database, a log kept in memory.
class Banc : public steps::EtapesMiseAJour {
 public:
  std::optional<dao::Database> Bd;
  std::vector<std::string> journal;
  std::vector<std::string> erreurs;
  void ErreurInstallation(const std::string& procedure, const platform::Error& err) override {
    erreurs.push_back(procedure + " (" + std::to_string(err.number()) + ")");
  }

 protected:
  dao::Database& BaseEnCours() override { return *Bd; }
  void EcritJournalBase(const std::string& ligne) override { journal.push_back(ligne); }
};

struct Pas {
  const char* nom;
  std::vector<std::string> arguments;
};

// Every step, tables and fields created before the steps that fill them.
const std::vector<Pas>& Sequence() {
  static const std::vector<Pas> pas{
      {"CreerTableIMPORTPANNULE", {}},
      {"CreerTableIMPORTDAT", {}},
      {"CreerTablePAYS", {}},
      {"CreerTableDestColl", {}},
      {"CreerTableTypCentre", {}},
      {"CreerTableDSF", {}},
      {"CreationRelationTable", {}},
      {"MAJ_Admin_Secondaire", {}},
      {"AjoutDataPAYS", {"99", "Côte d'Ivoire"}},
      {"AjoutDataTYPEAUT", {"9", "Permis modificatif"}},
      {"AjoutMotifAnnulPermis", {"9", "Demande du pétitionnaire"}},
      {"MAJCodeNatureTravaux", {"15", "Extension", "E", "1"}},
      {"AjoutTypeUtill", {"9", "Mixte"}},
      {"AjoutNatLog", {"9", "Résidence services"}},
      {"AjoutImprime", {"9"}},
      {"AjoutDataImpression", {"IMP9", "Relance", "9"}},
      {"AjoutDataEtat", {"E9", "Etat des relances", "IMP9", "1"}},
      {"MAJTypeUtilLog", {"9", "Mixte (habitation et commerce)"}},
      {"MAJTypeNatLog", {"9", "Résidence avec services"}},
      {"MAJTypeNatLogRang", {"9", "9"}},
      {"MajTableNatTrav", {}},
      {"MajTableNatTrav2", {}},
      {"CreerTablePREFIXEFICTIF", {}},
      {"CreationChampBlocNoteTopoFiche", {}},
      {"CreationChampBlocNoteTopoImportFiche", {}},
      {"MAJCDIF_HEURESRECEPT", {}},
      {"MajEnregLibelleTravaux0", {}},
      {"MajCritereSHON", {}},
      {"MajChampLibelleTravaux", {}},
      {"MajChampLibelleTravauxPilote", {}},
      {"MajAppPlanGeo", {}},
      {"MajLettre2MiseEnDemeure", {}},
      {"ModificationBlocNotePilote", {}},
      {"MC_AjoutModif", {}},
      {"ModificationTableMulticritereBlocNote", {}},
      {"AjoutTableParametre", {"DELAI_RELANCE", "30", "Délai de relance (jours)"}},
      {"AjoutTableRecherche", {"R_PERMIS", "Permis déposés", "SELECT * FROM PERMIS"}},
      {"AjoutTableRechercheVsl", {"R_VSL", "Visites", "SELECT * FROM FICHEVSL", "1"}},
      {"Etat6443TravauxEquipementsModifCodeChantier", {"A1", "A2"}},
      {"PiloteTypAjout", {"EXPORT", "Export des fiches"}},
      {"PiloteAjout", {"FICHE", "02", "Import des fiches d'Arras", "F", "|"}},
      {"PiloteRefCreationDonnees", {"FICHE", "RMTOPONOTE", "Bloc-notes topo", "M"}},
      {"PiloteDescVarAjoutDonnes", {"FICHE", "02", "NUFICHE", "6", "1"}},
      {"PiloteDescVarAjoutDonnes", {"FICHE", "02", "NEANT", "0", "2"}},
      {"PiloteDescMajNumOrdre", {"FICHE", "02", "NUFICHE", "3"}},
      {"PiloteRefModifDonnees", {"FICHE", "RMTOPONOTE", "2000", "Bloc-notes du géomètre"}},
      {"PiloteDescSuppDonnees", {"FICHE", "RMTOPONOTE"}},
      {"PiloteRefSuppressionDonnees", {"FICHE", "RMTOPONOTE"}},
      // Last, as the agent-code change drops and rebuilds the keys the others use. On tables
      // with rows it reports, as it always has (its copy of the codes selects no row).
      {"MAJCodeAgent", {}},
  };
  return pas;
}

}  // namespace

int main(int argc, char** argv) {
  const int fiches = argc > 1 ? std::atoi(argv[1]) : 10000;
  namespace fs = std::filesystem;
  const fs::path root = fs::temp_directory_path() / ("quelis-catalogue-bench-" + std::to_string(::getpid()));
  fs::create_directories(root / "C");
  std::printf("Catalogue des étapes sur la base de référence, %d fiches\n", fiches);
  {
    platform::FolderWorkstation poste(root);
    dao::DBEngine moteur(poste);
    echantillon::BaseEchantillon base;
    base.fiches = fiches;
    auto debut = Clock::now();
    echantillon::CreeBaseReference(moteur, "C:\\Quelis.mdb", base);
    const double construction = seconds_since(debut);
    const auto taille_avant = fs::file_size(root / "C" / "Quelis.mdb");

    Banc banc;
    std::vector<std::pair<double, std::string>> durees;
    debut = Clock::now();
    moteur.BeginTrans();
    banc.Bd = moteur.OpenDatabase("C:\\Quelis.mdb", true);
    for (const Pas& p : Sequence()) {
      const steps::Etape* etape = steps::TrouveEtape(p.nom);
      if (!etape) {
        std::printf("  étape inconnue : %s\n", p.nom);
        continue;
      }
      const auto pas = Clock::now();
      try {
        etape->prepare(p.arguments)(banc);
      } catch (const platform::Error& e) {
        // A step without a trap of its own: its caller's trap would report it.
        banc.erreurs.push_back(std::string(p.nom) + " (" + std::to_string(e.number()) + ", sans piège)");
      }
      durees.emplace_back(seconds_since(pas), p.nom);
    }
    moteur.CommitTrans();
    banc.Bd->Close();
    const double run = seconds_since(debut);

    std::sort(durees.rbegin(), durees.rend());
    std::printf("  construction de la base : %.2f s (%.1f Mo)\n", construction, taille_avant / 1e6);
    std::printf("  %zu étapes en une transaction : %.2f s, %zu lignes de journal\n", Sequence().size(), run,
                banc.journal.size());
    for (std::size_t i = 0; i < std::min<std::size_t>(5, durees.size()); ++i) {
      std::printf("    %-45s %.3f s\n", durees[i].second.c_str(), durees[i].first);
    }
    std::printf("  taille après : %.1f Mo ; mémoire maximale : %.0f Mo\n",
                fs::file_size(root / "C" / "Quelis.mdb") / 1e6, peak_kb() / 1024.0);
    std::printf("  erreurs signalées par les étapes (%zu) :", banc.erreurs.size());
    for (const std::string& e : banc.erreurs) std::printf(" %s;", e.c_str());
    std::printf("\n");
  }
  std::error_code ignored;
  fs::remove_all(root, ignored);
  return 0;
}
