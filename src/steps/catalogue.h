// The named operations a maintainer can run on one database with `quelis-maj etape`: each
// takes its arguments as text, as a maintainer types them, and runs on the wait form's open
// database through the schema toolkit.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "steps/etapes.h"

namespace steps {

// A step ready to run: its arguments already read.
using EtapePrete = std::function<void(EtapesMiseAJour&)>;

struct Etape {
  std::string nom;
  std::string arguments;  // "TABLE CHAMP TYPE TAILLE [DEFAUT]"
  std::string description;
  // Reads the arguments and returns the step to run; raises std::invalid_argument with a
  // French message naming what is wrong (count, a number, a yes/no value).
  std::function<EtapePrete(const std::vector<std::string>&)> prepare;
};

// Every step, in the order they are listed.
const std::vector<Etape>& Catalogue();

// The step called `nom` (case ignored), or nullptr.
const Etape* TrouveEtape(std::string_view nom);

}  // namespace steps
