// CopieRAZ: the reset database becomes a copy of whatever the live database holds now.
#include "pipeline/frm_attente.h"
#include "platform/vbfiles.h"

namespace pipeline {

void FrmAttente::CopieRAZ() {
  piege("CopieRAZ", [&] {
    Message("Copie de la base initiale RAZ");
    if (!env_->files().Dir(DossierRAZ, platform::vbDirectory).empty()) {
      if (Existe(CheminBaseRAZ)) Supprime(CheminBaseRAZ);
    } else {
      try {
        env_->files().MkDir(DossierRAZ);
      } catch (const platform::Error& e) {
        throw ErreurSurFichier(e, DossierRAZ);
      }
    }
    Copie(CheminBase, CheminBaseRAZ);
  });
}

}  // namespace pipeline
