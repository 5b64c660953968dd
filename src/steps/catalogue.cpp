#include "steps/catalogue.h"

#include "platform/vbstring.h"
#include "steps/arguments.h"
#include "steps/catalogue_familles.h"

namespace steps {

Etape Operation(std::string nom, std::string arguments, std::string description, std::size_t minimum,
                std::size_t maximum, std::function<EtapePrete(const std::vector<std::string>&)> lit) {
  const std::string usage = arguments;
  return Etape{std::move(nom), std::move(arguments), std::move(description),
               [=](const std::vector<std::string>& a) {
                 VerifieNombre(a, minimum, maximum, usage);
                 return lit(a);
               }};
}

const std::vector<Etape>& Catalogue() {
  static const std::vector<Etape> catalogue = [] {
    std::vector<Etape> c = EtapesSchema();
    for (Etape& e : EtapesPilotes()) c.push_back(std::move(e));
    for (Etape& e : EtapesCorrections()) c.push_back(std::move(e));
    for (Etape& e : EtapesCodes()) c.push_back(std::move(e));
    return c;
  }();
  return catalogue;
}

const Etape* TrouveEtape(std::string_view nom) {
  for (const Etape& e : Catalogue())
    if (platform::EqualsNoCase(e.nom, nom)) return &e;
  return nullptr;
}

}  // namespace steps
