#include "pipeline/restes.h"

#include "os/failure.h"
#include "os/services.h"
#include "platform/dao/dao_error.h"
#include "platform/error.h"
#include "platform/filelock.h"
#include "platform/localfs.h"
#include "platform/vbstring.h"

namespace pipeline {

namespace {

bool CommencePar(const std::string& nom, const std::string& debut) {
  return nom.size() > debut.size() && platform::EqualsNoCase(std::string_view(nom).substr(0, debut.size()), debut);
}

}  // namespace

std::string NomVerrou(const std::string& base) {
  const std::size_t dossier = base.find_last_of('\\');
  const std::size_t point = base.find_last_of('.');
  if (point == std::string::npos || (dossier != std::string::npos && point < dossier)) return base + ".ldb";
  return base.substr(0, point) + ".ldb";
}

std::vector<std::string> FichiersTemporaires(const platform::Workstation& poste, const std::string& dossier,
                                             const std::vector<std::string>& noms, const std::string& base) {
  const platform::ResolvedPath lieu = poste.resolveOnDrive(dossier);
  std::vector<std::string> trouves;
  if (!platform::localfs::isFolder(lieu.local)) return trouves;
  const std::string nomBase = platform::LastComponent(base);
  for (const platform::localfs::Entry& entree : platform::localfs::list(lieu.local)) {
    if (entree.isFolder || platform::EqualsNoCase(entree.name, nomBase) ||
        platform::EqualsNoCase(entree.name, NomVerrou(nomBase)))
      continue;
    for (const std::string& nom : noms) {
      if (platform::EqualsNoCase(entree.name, nom) || CommencePar(entree.name, nom) ||
          platform::EqualsNoCase(entree.name, NomVerrou(nom))) {
        trouves.push_back(dossier + entree.name);
        break;
      }
    }
  }
  return trouves;
}

void SupprimeTemporaire(const platform::Workstation& poste, const std::string& chemin) {
  const platform::ResolvedPath fichier = poste.resolveOnDrive(chemin);
  if (!fichier.isFile()) return;
  if (platform::IsLockedByAnother(fichier.local)) {
    throw platform::dao::daoError(static_cast<int>(jet::ErrorCode::FileInUse), chemin);
  }
  platform::localfs::clearReadOnly(fichier.local);
  try {
    os::system_services().files->remove(platform::localfs::toUtf8(fichier.local));
  } catch (const os::Failure&) {
    throw platform::Error(static_cast<int>(platform::ErrorCode::PermissionDenied),
                          platform::describe(static_cast<int>(platform::ErrorCode::PermissionDenied)) + " : " + chemin);
  }
}

}  // namespace pipeline
