// The catalogue is assembled from families of steps, each in its own file; every step is
// declared the same way: name, argument usage, description, how many arguments, how to read them.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "steps/catalogue.h"

namespace steps {

// A step whose argument count is checked against [minimum, maximum] before `lit` reads them.
Etape Operation(std::string nom, std::string arguments, std::string description, std::size_t minimum,
                std::size_t maximum, std::function<EtapePrete(const std::vector<std::string>&)> lit);

// The schema toolkit's structure changes.
std::vector<Etape> EtapesSchema();
// The document-pilot and multi-criteria steps.
std::vector<Etape> EtapesPilotes();
// The single-statement corrections, record edits, structure and parameter steps.
std::vector<Etape> EtapesCorrections();
// The code-table, table-creation, relation and agent-code steps, and those not carried.
std::vector<Etape> EtapesCodes();

}  // namespace steps
