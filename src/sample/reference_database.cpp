#include "sample/reference_database.h"

#include "sample/base_quelis.h"
#include "sample/construction.h"
#include "sample/reference_tables.h"

namespace echantillon {

void CreeBaseReference(platform::dao::DBEngine& moteur, const std::string& chemin, const BaseEchantillon& base) {
  using namespace reference;
  std::vector<jet::TableDesign> tables{base_quelis::TableVersion()};
  for (auto&& partie : {TablesServices(), TablesAgents(), Tables6443(), TablesFiches(), TablesPilotes(),
                        TablesCodes(), TablesRecherche()})
    tables.insert(tables.end(), partie.begin(), partie.end());
  construction::CreeBase(moteur, chemin, tables, [&](dao::Database& bd) {
    base_quelis::RemplitVersion(bd, base.livers, "4.4.0.0");
    RemplitServices(bd, base);
    RemplitAgents(bd, base);
    Remplit6443(bd);
    RemplitFiches(bd, base);
    RemplitPilotes(bd);
    RemplitCodes(bd);
    RemplitRecherche(bd, base);
    RelieAgents(bd);
  });
}

}  // namespace echantillon
