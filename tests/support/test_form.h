// A wait form for tests of the schema toolkit and the update steps: the open database, the
// lines written to the per-database log and the errors reported, kept for the test to read.
// `Base` is the toolkit or the steps class the form carries.
#pragma once

#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "platform/dao/dao.h"
#include "platform/error.h"

namespace test_support {

struct ErreurSignalee {
  std::string procedure;
  int numero;
  bool operator==(const ErreurSignalee&) const = default;
};

inline std::ostream& operator<<(std::ostream& out, const ErreurSignalee& e) {
  return out << e.procedure << " (" << e.numero << ")";
}

template <class Base>
class FormeEssai : public Base {
 public:
  std::optional<platform::dao::Database> Bd;
  std::vector<std::string> journal;
  std::vector<ErreurSignalee> erreurs;

  void ErreurInstallation(const std::string& procedure, const platform::Error& err) override {
    erreurs.push_back({procedure, err.number()});
  }

 protected:
  platform::dao::Database& BaseEnCours() override {
    if (!Bd) throw platform::Error(platform::ErrorCode::ObjectVariableNotSet);
    return *Bd;
  }
  void EcritJournalBase(const std::string& ligne) override { journal.push_back(ligne); }
};

}  // namespace test_support
