// quelis-maj: the QUELIS database update tool.
//   quelis-maj                      (Windows) runs the tool on this machine, from the folder
//                                   that holds quelis-maj.exe, as the original program ran;
//   quelis-maj --workstation DIR [--program-folder "C:\QUELIS\"]
//       runs the tool on a workstation held in a folder (a copy of a workstation), as if
//       started from that Windows folder of the workstation;
//   quelis-maj demo [DIR] [--fiches N] [--poste-seulement]
//       builds a sample workstation in DIR (or a new temporary folder), runs the tool on it and
//       prints its run log, each database's log and a few case records before and after
//       (with --poste-seulement: only builds it).
//   quelis-maj etape NOM [ARGUMENTS...] --base CHEMIN [--workstation DIR]
//       runs one step of the catalogue on one database through temporary copies (see etape.h);
//       `quelis-maj etape --liste` lists the steps. Exit status 0 done, 1 failed (database
//       unchanged), 2 unknown step or wrong arguments, 3 database out of reach.
//       With --cree-base-reference [--fiches N] the reference application database (every
//       table, index and relation the steps of earlier releases use, at 4.4.0.1, N case
//       records, 24 by default) is first written at CHEMIN, which must not exist (exit status
//       2 if it does); without NOM only the database is written.
//   --horloge "AAAA-MM-JJ hh:mm:ss" fixes the date and time the tool reads (reproducible logs).
//   /interactif (or --interactif) runs the tool with an operator: the parameter form waits
//       for choices, and every question, error box and final message of the program is shown.
//       The program itself always runs silent; the switch is ours, for maintenance and tests.
//       On Windows the forms are windows; on a terminal the operator answers at the console.
// The options only place the program on this machine: the tool itself reads no command line.
// Exit status: 0 run complete, 1 run failed (see the run log), 2 stopped by an untrapped
// error, 3 the workstation could not be used.
// The demo's run always reports a failure: its second site is already up to date and is
// refused, by design. The demo therefore exits 0 when the run went as designed (first site
// updated and its survey data restored, second refused with error 1 and left unchanged) and
// 1 otherwise.
#include <CLI/CLI.hpp>

#include <cctype>
#include <cstdlib>
#include <functional>
#include <filesystem>
#include <iostream>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <vector>
#ifdef _WIN32
#include "os/win32_text.h"
#include "platform/native_workstation.h"
#include "platform/ui/win32_front_end.h"
#endif

#include "bilan.h"
#include "demo_report.h"
#include "dossier_temporaire.h"
#include "etape.h"
#include "texte_windows.h"
#include "launcher/program.h"
#include "sample/sample_workstation.h"
#include "platform/clock.h"
#include "platform/environment.h"
#include "platform/localfs.h"
#include "platform/program.h"
#include "platform/ui/console_front_end.h"
#include "platform/ui/console_message_boxes.h"
#include "platform/ui/console_operator.h"
#include "platform/ui/desktop.h"
#include "platform/ui/message_box.h"
#include "platform/workstation.h"
#include "os/services.h"

namespace {

namespace fs = std::filesystem;

constexpr int kRunComplete = 0;
constexpr int kRunFailed = 1;
constexpr int kUntrappedError = 2;
constexpr int kUnusableWorkstation = 3;

// VB's App.Path has no trailing backslash, except for a drive root.
std::string AppPath(std::string folder) {
  while (folder.size() > 3 && (folder.back() == '\\' || folder.back() == '/')) folder.pop_back();
  if (folder.size() == 2 && folder[1] == ':') folder += '\\';
  return folder;
}

// The workstation of the run: the folder `root`, or this machine when `root` is empty (Windows).
std::unique_ptr<platform::Workstation> OpenWorkstation(const fs::path& root) {
#ifdef _WIN32
  if (root.empty()) return platform::ThisMachine();
#endif
  return std::make_unique<platform::FolderWorkstation>(root);
}

// Runs the tool on the workstation `root` (this machine when empty) from the Windows folder
// `programFolder`; prints the run log's place, and its content when `printLog`.
int RunTool(const fs::path& root, const std::string& programFolder, bool printLog,
            const std::optional<platform::DateTime>& horloge, bool interactif = false) {
  platform::ProgramInfo program;
  program.Path = AppPath(programFolder);
  std::unique_ptr<platform::Environment> env;
  std::unique_ptr<platform::Workstation> launcherView;
  try {
    launcherView = OpenWorkstation(root);
    env = std::make_unique<platform::Environment>(
        OpenWorkstation(root),
        horloge ? std::shared_ptr<platform::Clock>(std::make_shared<platform::FixedClock>(*horloge))
                : std::shared_ptr<platform::Clock>(std::make_shared<platform::SystemClock>()),
        program,
        std::make_shared<platform::DesktopLauncher>(*launcherView, false));
  } catch (const std::exception& e) {
    std::cerr << "quelis-maj: poste de travail inutilisable (" << platform::localfs::toUtf8(root) << ") : "
              << e.what() << '\n';
    return kUnusableWorkstation;
  }

  // The forms are windows where a desktop exists (Windows), and always printed on the console.
  platform::ui::MessageBoxService* windowBoxes = nullptr;
#ifdef _WIN32
  std::unique_ptr<platform::ui::Win32FrontEnd> fenetres;
  if (platform::ui::Win32FrontEnd::windowsAvailable()) {
    fenetres = std::make_unique<platform::ui::Win32FrontEnd>();
    windowBoxes = fenetres.get();
  }
#endif
  platform::ui::DefaultButtonAnswers enter;
  platform::ui::ConsoleMessageBoxes atTheConsole(std::cin, std::cout);
  platform::ui::MessageBoxService& boxes =
      windowBoxes ? *windowBoxes : interactif ? static_cast<platform::ui::MessageBoxService&>(atTheConsole) : enter;
  platform::ui::Desktop desktop(boxes);
  platform::ui::ConsoleFrontEnd console(std::cout);
  desktop.addObserver(console);
#ifdef _WIN32
  if (fenetres) desktop.addObserver(*fenetres);
#endif

  launcher::Program tool(*env, desktop,
                         interactif ? launcher::ModeLancement::Interactif : launcher::ModeLancement::Silencieux);
  tool.Start();
  // Interactive: the parameter form waits for the operator until the run ends.
  auto act = [&tool](const std::function<void()>& action) { tool.Act(action); };
  auto ended = [&tool] { return tool.ended(); };
  auto close = [&tool] { tool.frmParam().Unload(); };
#ifdef _WIN32
  if (!tool.ended() && fenetres) {
    fenetres->setActionRunner(act);
    fenetres->setCloseHandler([&](platform::ui::Form& closed) {
      if (&closed == &tool.frmParam()) close();
    });
    fenetres->runUntil(ended);
  }
#endif
  if (!tool.ended()) platform::ui::ConsoleOperator(std::cin, std::cout).serve(tool.frmParam(), act, ended, close);

  const launcher::FrmParam& form = tool.frmParam();
  std::cout << '\n';
  AfficheBilan(std::cout, form.Bilan);
  if (form.FichierLog.empty()) {
    std::cout << "Aucun journal n'a été créé.\n";
  } else {
    const fs::path local = env->workstation().resolve(form.FichierLog).local;
    std::cout << "Journal de la mise à jour : " << form.FichierLog;
    if (!root.empty()) std::cout << "\n  (" << platform::localfs::toUtf8(local) << ")";
    std::cout << "\n";
    if (printLog && fs::is_regular_file(local)) {
      std::cout << "\n" << LitTexteWindows(local);
    }
  }
  if (const auto& error = tool.erreurNonInterceptee()) {
    std::cerr << "quelis-maj: erreur d'exécution " << error->number() << " : "
              << error->description() << '\n';
    return kUntrappedError;
  }
  if (form.EnErreur) {
    std::cerr << "quelis-maj: la mise à jour s'est terminée en erreur"
              << (form.FichierLog.empty() ? " avant la création du journal" : " (voir le journal)")
              << '\n';
    return kRunFailed;
  }
  return kRunComplete;
}

// "AAAA-MM-JJ hh:mm:ss".
std::optional<platform::DateTime> LitHorloge(const std::string& texte) {
  if (texte.empty()) return std::nullopt;
  platform::DateTime t;
  char a, b, c, d, e;
  std::istringstream in(texte);
  in >> t.year >> a >> t.month >> b >> t.day >> t.hour >> c >> t.minute >> d >> t.second;
  if (!in || a != '-' || b != '-' || c != ':' || d != ':' || (in >> e)) {
    throw std::invalid_argument("--horloge attend \"AAAA-MM-JJ hh:mm:ss\" : " + texte);
  }
  return t;
}

int run(int argc, char** argv) {
  // The Windows way of writing the switch, in any case.
  for (int i = 1; i < argc; ++i) {
    std::string word = argv[i];
    for (char& c : word) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    if (word == "/interactif") argv[i] = const_cast<char*>("--interactif");
  }
  CLI::App app{"Mise à jour des données QUELIS 4.4.0 sur un poste de travail"};
  std::string workstation;
  std::string programFolder = "C:\\QUELIS\\";
  app.add_option("--workstation", workstation,
                 "dossier du poste de travail (C/, D/, UNC/, drives.ini, registry.reg)");
  app.add_option("--program-folder", programFolder,
                 "dossier Windows du programme sur le poste")
      ->capture_default_str();

  auto* demo = app.add_subcommand("demo", "construit un poste d'exemple, y lance l'outil et affiche le journal");
  std::string demoFolder;
  demo->add_option("DIR", demoFolder, "dossier du poste d'exemple (absent ou vide)");
  bool posteSeulement = false;
  demo->add_flag("--poste-seulement", posteSeulement,
                 "construit le poste d'exemple sans lancer l'outil (pour le copier ailleurs, sous Windows par exemple)");
  int fiches = 200;
  demo->add_option("--fiches", fiches, "nombre de fiches de chaque base d'exemple")->check(CLI::Range(2, 3000000));
  auto* etape = app.add_subcommand(
      "etape", "lance une étape de mise à jour sur une base (copie temporaire, transaction, compactage, remplacement)");
  std::string nomEtape, baseEtape;
  std::vector<std::string> argumentsEtape;
  bool listeEtapes = false;
  etape->fallthrough();  // --workstation and --horloge may follow the step's arguments
  etape->add_option("NOM", nomEtape, "nom de l'étape");
  etape->add_option("ARGUMENTS", argumentsEtape, "arguments de l'étape");
  etape->add_option("--base", baseEtape, "la base : fichier de cette machine, ou chemin Windows avec --workstation");
  etape->add_flag("--liste", listeEtapes, "liste les étapes et leurs arguments");
  bool creeReference = false;
  etape->add_flag("--cree-base-reference", creeReference,
                  "crée d'abord à --base (fichier absent) la base de référence, pour y essayer l'étape");
  int fichesReference = 24;
  etape->add_option("--fiches", fichesReference, "nombre de fiches de la base de référence")
      ->check(CLI::Range(0, 1000000));
  bool interactif = false;
  app.add_flag("--interactif", interactif,
               "avec un opérateur : le formulaire attend ses choix, questions et messages s'affichent (aussi /interactif)");
  std::string horloge;
  app.add_option("--horloge", horloge, "date et heure lues par l'outil, \"AAAA-MM-JJ hh:mm:ss\"");

  CLI11_PARSE(app, argc, argv);

  std::optional<platform::DateTime> fixe;
  try {
    fixe = LitHorloge(horloge);
  } catch (const std::exception& e) {
    std::cerr << "quelis-maj: " << e.what() << '\n';
    return kUnusableWorkstation;
  }

  if (etape->parsed()) {
    if (listeEtapes) {
      etape::Liste(std::cout);
      return kRunComplete;
    }
    if (creeReference && nomEtape.empty() && !baseEtape.empty())
      return etape::CreeBaseReference(workstation, baseEtape, fichesReference, std::cout, std::cerr);
    if (nomEtape.empty() || baseEtape.empty()) {
      std::cerr << "quelis-maj etape: NOM et --base CHEMIN sont nécessaires\n" << etape->help();
      return 2;
    }
    return etape::Lance(workstation, baseEtape, nomEtape, argumentsEtape, fixe, std::cout, std::cerr,
                        creeReference ? std::optional<int>(fichesReference) : std::nullopt);
  }
  if (demo->parsed()) {
    try {
      const fs::path root = demoFolder.empty() ? NouveauDossierTemporaire("quelis-demo") : fs::absolute(platform::localfs::fromUtf8(demoFolder));
      const echantillon::SampleWorkstation sample = echantillon::BuildSampleWorkstation(root, fiches);
      std::cout << "Poste d'exemple : " << platform::localfs::toUtf8(sample.root) << "\n"
                << "Programme : " << sample.programFolder << "\\, données : C:\\Quelis\\ (ancienne organisation)"
                << "\n\n";
      if (posteSeulement) return kRunComplete;
      const demo::Etat avant = demo::LitEtat(sample);
      const int status = RunTool(sample.root, sample.programFolder, true, fixe);
      // Each data folder's own log, beside its database.
      for (const fs::path& bases : sample.basesFolders) {
        if (!fs::is_directory(bases)) continue;
        for (const auto& entry : fs::directory_iterator(bases)) {
          if (entry.path().extension() != ".log") continue;
          std::cout << "\nJournal de la base : " << platform::localfs::toUtf8(entry.path()) << "\n\n"
                    << LitTexteWindows(entry.path());
        }
      }
      const demo::Etat apres = demo::LitEtat(sample);
      demo::AfficheAvantApres(std::cout, avant, apres);
      if (status == kUntrappedError || status == kUnusableWorkstation) return status;
      return demo::CommePrevu(std::cout, sample, avant, apres) ? kRunComplete : kRunFailed;
    } catch (const std::exception& e) {
      std::cerr << "quelis-maj demo: " << e.what() << '\n';
      return kUnusableWorkstation;
    }
  }
#ifdef _WIN32
  // On Windows the machine itself is the workstation, and the program's folder is its own.
  if (workstation.empty()) {
    if (app.count("--program-folder") == 0) programFolder = platform::ProgramFolder();
    return RunTool(fs::path(), programFolder, false, fixe, interactif);
  }
#else
  if (workstation.empty()) {
    std::cerr << "quelis-maj: --workstation DIR est nécessaire (ou: quelis-maj demo [DIR])\n"
              << app.help();
    return kUnusableWorkstation;
  }
#endif
  return RunTool(platform::localfs::fromUtf8(workstation), programFolder, false, fixe, interactif);
}

}  // namespace

#ifdef _WIN32
// Windows hands the program its arguments in UTF-16; the program works in UTF-8, and the
// console is told to show UTF-8.
int wmain(int argc, wchar_t** wide) {
  std::vector<std::string> arguments;
  for (int i = 0; i < argc; ++i) arguments.push_back(os::narrow(wide[i]));
  std::vector<char*> argv;
  for (std::string& a : arguments) argv.push_back(a.data());
  argv.push_back(nullptr);
  platform::ShowUtf8OnConsole();
  return run(argc, argv.data());
}
#else
int main(int argc, char** argv) {
  os::return_freed_memory_at_once();
  return run(argc, argv);
}
#endif
