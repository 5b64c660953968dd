// The update run over a file system that fails on cue (os::FaultyFileSystem), put in place of
// the machine's for the engine, the platform and the pipeline alike, with the machine's clock
// and random source fixed so that two runs from the same files write the same bytes; and what
// a run leaves in the Bases\ folder.
#pragma once

#include <algorithm>
#include <functional>

#include "os/faulty_file_system.h"
#include "os/services.h"
#include "pipeline_fixture.h"

namespace pannes_test {

namespace fs = std::filesystem;
using pipeline_test::kBases;
using pipeline_test::kBasesLocal;
using pipeline_test::kJournal;
using pipeline_test::Lines;

class HorlogeFixe final : public os::Clock {
 public:
  os::LocalTime now() const override { return {2013, 1, 15, 14, 30, 5}; }
};

class SuiteFixe final : public os::Random {
 public:
  std::uint64_t next() override { return etat_ += 0x9E3779B97F4A7C15u; }

 private:
  std::uint64_t etat_ = 0;
};

// Passes everything on, counting the renames (publish_new, rename_over) made through it.
class CompteRenommages final : public os::FileSystem {
 public:
  explicit CompteRenommages(os::FileSystem& suite) : suite_(suite) {}
  int renommages() const { return renommages_; }
  std::unique_ptr<os::File> open(const std::string& p, os::Access a, os::Sharing s) override { return suite_.open(p, a, s); }
  std::unique_ptr<os::File> create_new(const std::string& p) override { return suite_.create_new(p); }
  std::unique_ptr<os::File> create_scratch() override { return suite_.create_scratch(); }
  void publish_new(const std::string& de, const std::string& vers) override {
    ++renommages_;
    suite_.publish_new(de, vers);
  }
  void rename_over(const std::string& de, const std::string& vers) override {
    ++renommages_;
    suite_.rename_over(de, vers);
  }
  void remove(const std::string& p) override { suite_.remove(p); }
  bool exists(const std::string& p) override { return suite_.exists(p); }
  bool is_folder(const std::string& p) override { return suite_.is_folder(p); }
  bool is_read_only(const std::string& p) override { return suite_.is_read_only(p); }
  std::unique_ptr<os::LockHold> hold_lock(const std::string& p) override { return suite_.hold_lock(p); }
  bool locked_by_another(const std::string& p) override { return suite_.locked_by_another(p); }
  std::string host_name() override { return suite_.host_name(); }

 private:
  os::FileSystem& suite_;
  int renommages_ = 0;
};

// What one run did and said.
struct Deroulement {
  bool succes = false;
  bool journalCree = false;
  std::vector<pipeline::FrmAttente::ErreurSignalee> erreurs;
  int ecritures = 0, synchros = 0, renommages = 0;
};

class PannesTest : public pipeline_test::PipelineTest {
 protected:
  // Traitement of kBases, the file system failing as `arme` tells it before the run and as
  // `pendant` tells it after each progress line.
  Deroulement lance(const std::function<void(os::FaultyFileSystem&)>& arme = {},
              const std::function<void(os::FaultyFileSystem&, std::string_view)>& pendant = {}) {
    os::FaultyFileSystem pannes(*os::system_services().files);
    CompteRenommages compte(pannes);
    HorlogeFixe horloge;
    SuiteFixe hasard;
    const os::Services services{&compte, &horloge, &hasard};
    Deroulement deroulement;
    {
      os::ServicesOverride remplace(services);
      if (arme) arme(pannes);
      auto f = form();
      if (pendant) f->SurMessage = [&](std::string_view texte) { pendant(pannes, texte); };
      f->Traitement();
      deroulement.succes = f->Succes;
      deroulement.journalCree = f->JournalBaseCree;
      deroulement.erreurs = f->ErreursSignalees;
      f->Unload();
    }
    deroulement.ecritures = pannes.writes();
    deroulement.synchros = pannes.syncs();
    deroulement.renommages = compte.renommages();
    return deroulement;
  }

  // The names in Bases\, sorted.
  std::vector<std::string> contenu() const {
    std::vector<std::string> noms;
    for (const auto& e : fs::directory_iterator(local(kBasesLocal))) noms.push_back(e.path().filename().string());
    std::sort(noms.begin(), noms.end());
    return noms;
  }
  // The error block of the per-database log for `erreur`.
  static std::string Bloc(const pipeline::FrmAttente::ErreurSignalee& erreur) {
    return lines(pipeline_test::BlocErreur(erreur.Procedure, erreur.Numero, erreur.Description));
  }
  // What Bases\ holds after any run, failed or not, once its log is written: the database,
  // its backup and the log, no temporary.
  static std::vector<std::string> ContenuFinal() {
    return {"Quelis.mdb", "QuelisBase_4.4.0_20130115143005.log", "QuelisSauv_18012013.mdb"};
  }
};

}  // namespace pannes_test
