#include "launcher/base_migration.h"

#include "platform/dao/dao.h"
#include "platform/error.h"

namespace launcher {
namespace {

namespace dao = platform::dao;

class BaseParMoteur : public BaseMigration {
 public:
  explicit BaseParMoteur(dao::DBEngine& moteur) : moteur_(&moteur) {}

  void OuvrirExclusif(const std::string& chemin) override {
    bd_.emplace(moteur_->Workspaces(0).OpenDatabase(chemin, true));
  }
  std::optional<std::string> VersionBase() override {
    dao::Recordset rs = base().OpenRecordset("VERSION", dao::dbOpenTable);
    const dao::Variant livers = rs("livers");
    rs.Close();
    if (livers.IsNull()) return std::nullopt;
    return livers.CStr();
  }
  std::optional<std::string> CodeCdif() override {
    dao::Recordset rs = base().OpenRecordset(
        "select (cocdidep & cocdidir & cocdif) as codecdif from CDIF where cocditype='1'", dao::dbOpenSnapshot);
    std::optional<std::string> code;
    if (!rs.Eof()) code = rs("codecdif").Text();
    rs.Close();
    return code;
  }
  void Fermer() override {
    if (bd_) bd_->Close();
    bd_.reset();
  }

 private:
  dao::Database& base() {
    if (!bd_) throw platform::Error(platform::ErrorCode::ObjectVariableNotSet);
    return *bd_;
  }

  dao::DBEngine* moteur_;
  std::optional<dao::Database> bd_;
};

}  // namespace

std::unique_ptr<BaseMigration> BaseMigrationMoteur(platform::dao::DBEngine& moteur) {
  return std::make_unique<BaseParMoteur>(moteur);
}

}  // namespace launcher
