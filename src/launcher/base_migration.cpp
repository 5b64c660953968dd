#include "launcher/base_migration.h"

#include "platform/error.h"

namespace launcher {
namespace {

class MoteurAbsent : public BaseMigration {
 public:
  void OuvrirExclusif(const std::string&) override {
    throw platform::Error(platform::ErrorCode::CannotCreateObject);
  }
  std::optional<std::string> VersionBase() override {
    throw platform::Error(platform::ErrorCode::ObjectVariableNotSet);
  }
  std::optional<std::string> CodeCdif() override {
    throw platform::Error(platform::ErrorCode::ObjectVariableNotSet);
  }
  void Fermer() override {}
};

}  // namespace

std::unique_ptr<BaseMigration> BaseMigrationIndisponible() { return std::make_unique<MoteurAbsent>(); }

}  // namespace launcher
