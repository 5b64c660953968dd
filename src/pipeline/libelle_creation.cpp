// LibelleCreation: the label of a freshly installed school database, taken from its own CDIF
// record, written to libelle.txt (which database discovery reads) and handed to the run.
#include "pipeline/frm_attente.h"
#include "platform/vbstring.h"

namespace pipeline {

void FrmAttente::LibelleCreation() {
  piege("LibelleCreation", [&] {
    dao::Recordset rs = Bd->OpenRecordset("Select licdif from CDIF where cocditype='1'");
    if (rs.Eof()) return;
    // CStr refuses a Null label (error 94), as the text conversion of the original does.
    const std::string libelle = platform::Replace(rs("licdif").CStr(), "\r\n", " ");
    const std::string fichier = DossierBases + "libelle.txt";
    platform::TextStream flux = Fso->CreateTextFile(fichier, true);
    flux.Write(libelle);
    flux.Close();
    EcritJournalBase(" - Création fichier " + fichier + " : Ok");
    LibelleEnCours = libelle;
    if (RetourLibelle) RetourLibelle(libelle);
  });
}

}  // namespace pipeline
