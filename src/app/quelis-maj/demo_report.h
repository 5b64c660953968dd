// What the demo shows around the run: the sample databases read before and after, a few case
// records side by side, and whether the run went as the sample was designed for.
#pragma once

#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "sample/sample_workstation.h"

namespace demo {

struct Fiche {
  std::string nufiche, cofictyp, coficvtopo, dafictopo, cofictopo;
  bool operator==(const Fiche&) const = default;
};

struct Etat {
  std::optional<std::string> versionMiseAJour;  // Lille's livers ("" for Null), wherever it lies
  std::optional<std::string> versionRefusee;    // Arras's livers
  std::vector<Fiche> fiches;                    // Lille's case records
  std::string octetsRefusee;                    // Arras's database file
};

// Reads the sample's two databases, before the run (Lille still in the old layout) or after.
Etat LitEtat(const echantillon::SampleWorkstation& sample);

// Prints Lille's case records whose survey fields changed (a few), and a count.
void AfficheAvantApres(std::ostream& out, const Etat& avant, const Etat& apres);

// Lille updated to 4.4.0.3 with survey data restored, Arras refused with error 1 and its file
// unchanged. Prints the verdict and, when it fails, why.
bool CommePrevu(std::ostream& out, const echantillon::SampleWorkstation& sample, const Etat& avant, const Etat& apres);

}  // namespace demo
