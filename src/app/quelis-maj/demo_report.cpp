#include "demo_report.h"

#include <filesystem>
#include <fstream>
#include <iomanip>
#include <sstream>

#include "platform/codepage.h"
#include "platform/dao/dao.h"
#include "platform/workstation.h"

namespace demo {
namespace {

namespace fs = std::filesystem;
namespace dao = platform::dao;

std::string Octets(const fs::path& fichier) {
  std::ifstream in(fichier, std::ios::binary);
  std::stringstream b;
  b << in.rdbuf();
  return b.str();
}

// Date fields as "AAAA-MM-JJ", Null as "-".
std::string Texte(const dao::Variant& v) {
  if (v.IsNull()) return "-";
  const std::string t = v.value().to_display();
  return v.VarType() == 7 ? t.substr(0, 10) : t;
}

std::optional<std::string> Version(dao::Database& bd) {
  dao::Recordset rs = bd.OpenRecordset("VERSION", dao::dbOpenSnapshot);
  std::optional<std::string> v;
  if (!rs.Eof()) v = rs("livers").Text();
  rs.Close();
  return v;
}

}  // namespace

Etat LitEtat(const echantillon::SampleWorkstation& sample) {
  const platform::FolderWorkstation poste(sample.root);
  dao::DBEngine moteur(poste);
  Etat etat;
  for (const std::string& chemin : {std::string("C:\\QUELIS\\Bases\\Quelis.mdb"), sample.updatedDatabase}) {
    if (!poste.resolve(chemin).isFile()) continue;
    dao::Database bd = moteur.OpenDatabase(chemin, false, true);
    etat.versionMiseAJour = Version(bd);
    dao::Recordset rs = bd.OpenRecordset(
        "SELECT NUFICHE, cofictyp, coficvtopo, DAFICTOPO, COFICTOPO FROM FICHE ORDER BY NUFICHE", dao::dbOpenSnapshot);
    while (!rs.Eof()) {
      etat.fiches.push_back({Texte(rs("NUFICHE")), Texte(rs("cofictyp")), Texte(rs("coficvtopo")),
                             Texte(rs("DAFICTOPO")), Texte(rs("COFICTOPO"))});
      rs.MoveNext();
    }
    rs.Close();
    bd.Close();
    break;
  }
  const platform::ResolvedPath refusee = poste.resolve(sample.refusedDatabase);
  if (refusee.isFile()) {
    etat.octetsRefusee = Octets(refusee.local);
    dao::Database bd = moteur.OpenDatabase(sample.refusedDatabase, false, true);
    etat.versionRefusee = Version(bd);
    bd.Close();
  }
  return etat;
}

void AfficheAvantApres(std::ostream& out, const Etat& avant, const Etat& apres) {
  out << "\nFiches de Lille (type, visa topo, date et code topo) avant -> après la mise à jour :\n\n";
  int changees = 0, affichees = 0;
  for (std::size_t i = 0; i < avant.fiches.size() && i < apres.fiches.size(); ++i) {
    const Fiche& a = avant.fiches[i];
    const Fiche& b = apres.fiches[i];
    const bool change = !(a == b);
    if (change) ++changees;
    // The first changed records, and the first ones that were left alone.
    if ((change && affichees < 6) || i < 2) {
      if (change) ++affichees;
      out << "  fiche " << a.nufiche << "  type " << a.cofictyp << "  visa " << std::setw(2) << a.coficvtopo << "  "
          << std::setw(10) << a.dafictopo << " " << std::setw(2) << a.cofictopo << "  ->  " << std::setw(10)
          << b.dafictopo << " " << std::setw(2) << b.cofictopo << (change ? "   (restaurée)" : "   (inchangée)")
          << '\n';
    }
  }
  out << "\n  " << changees << " fiche(s) sur " << apres.fiches.size()
      << " ont retrouvé leurs informations topo de la sauvegarde du 18/01/2013.\n";
}

bool CommePrevu(std::ostream& out, const echantillon::SampleWorkstation& sample, const Etat& avant, const Etat& apres) {
  std::vector<std::string> ecarts;
  if (apres.versionMiseAJour != std::optional<std::string>("4.4.0.3"))
    ecarts.push_back("la base de Lille n'est pas en version 4.4.0.3");
  bool restauree = false;
  for (std::size_t i = 0; i < avant.fiches.size() && i < apres.fiches.size(); ++i)
    if (!(avant.fiches[i] == apres.fiches[i])) restauree = true;
  if (!restauree) ecarts.push_back("aucune fiche de Lille n'a été restaurée");
  if (apres.octetsRefusee.empty() || apres.octetsRefusee != avant.octetsRefusee)
    ecarts.push_back("la base d'Arras a changé");
  bool refusParErreur1 = false;
  if (sample.basesFolders.size() > 1 && fs::is_directory(sample.basesFolders[1])) {
    for (const auto& e : fs::directory_iterator(sample.basesFolders[1])) {
      if (e.path().extension() != ".log") continue;
      const std::string log = platform::Cp1252ToUtf8(Octets(e.path()));
      if (log.find("Erreur n° 1\r\nLa version de la base de données est déjà mise à jour : 4.4.0.3\r\n") !=
          std::string::npos)
        refusParErreur1 = true;
    }
  }
  if (!refusParErreur1) ecarts.push_back("la base d'Arras n'a pas été refusée comme déjà à jour");
  out << "\nRésultat de la démonstration : ";
  if (ecarts.empty()) {
    out << "conforme (Lille mise à jour, Arras déjà à jour refusée sans modification).\n";
    return true;
  }
  out << "NON conforme\n";
  for (const std::string& e : ecarts) out << "  - " << e << '\n';
  return false;
}

}  // namespace demo
