// frmParam as drawn: a small fixed dialog, the three choice frames stacked above the data
// location, the two buttons at the bottom right. Positions in twips, as the form designer
// keeps them (written here as pixels at 96 dots per inch, 15 twips each).
#include "launcher/frm_param.h"

namespace launcher {
namespace {

constexpr int px(int pixels) { return pixels * 15; }

}  // namespace

void FrmParam::PlaceControles() {
  setScaleSize(px(528), px(432));
  lblVersion.move(px(8), px(8), px(250), px(16));
  LblConfiguration.move(px(270), px(8), px(250), px(16));

  fraActions.move(px(8), px(30), px(512), px(88));
  chkActions(2).move(px(12), px(20), px(490), px(18));
  chkActions(1).move(px(12), px(42), px(490), px(18));
  chkActions(0).move(px(12), px(64), px(490), px(18));

  fraChoixBaseEcole.move(px(8), px(124), px(512), px(88));
  optBasesEcole(2).move(px(12), px(20), px(490), px(18));
  optBasesEcole(1).move(px(12), px(42), px(490), px(18));
  optBasesEcole(0).move(px(12), px(64), px(490), px(18));

  FraLecteurDonnees.move(px(8), px(218), px(512), px(52));
  cboListeLecteurs.move(px(12), px(20), px(488), px(200));

  fraChoixBases.move(px(8), px(276), px(512), px(76));
  optChoixPerimetre(1).move(px(12), px(20), px(240), px(18));
  optChoixPerimetre(0).move(px(12), px(45), px(92), px(18));
  cboListeBases.move(px(108), px(45), px(392), px(200));

  lblMessage.move(px(8), px(362), px(264), px(32));
  cmdOK.move(px(280), px(396), px(116), px(28));
  cmdAnnuler.move(px(404), px(396), px(116), px(28));
}

}  // namespace launcher
