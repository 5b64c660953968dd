#include <gtest/gtest.h>

#include <sstream>

#include "platform/ui/console_front_end.h"
#include "ui_test_form.h"

namespace ui_test {
namespace {

TEST(ConsoleFrontEnd, PrintsWhatAnOperatorWouldSeeOnceTheFormIsShown) {
  DefaultButtonAnswers enter;
  Desktop desktop(enter);
  std::ostringstream out;
  ConsoleFrontEnd console(out);
  desktop.addObserver(console);
  SampleForm form(desktop);
  Label second(form, "lblSecond", "");
  Label hidden(form, "lblCache", "caché");
  hidden.setVisible(false);

  form.lbl.setCaption("avant affichage");  // not on screen yet: shown with the form
  form.chk(0).setValue(vbChecked);         // only captions and labels are printed
  form.show();
  second.setCaption("Copie de la base\r\nen cours");
  second.setCaption("");
  hidden.setCaption("toujours caché");
  form.setCaption("Installation");
  EXPECT_EQ(out.str(),
            "== Essai ==\n"
            "   avant affichage\n"
            "   Copie de la base\n"
            "   en cours\n"
            "== Installation ==\n");
}

TEST(ConsoleFrontEnd, PrintsMessageBoxesWithTheirAnswer) {
  ScriptedMessageBoxes boxes;
  boxes.script(vbNo);
  Desktop desktop(boxes);
  std::ostringstream out;
  ConsoleFrontEnd console(out);
  desktop.addObserver(console);
  desktop.msgBox("Erreur\r\nProcédure : Form_Load\r\n", vbOKOnly, "Traitement");
  desktop.msgBox("Remplacer ?", 52, "QUELIS");
  EXPECT_EQ(out.str(),
            "[Traitement]\n"
            " | Erreur\n"
            " | Procédure : Form_Load\n"
            " | \n"
            " -> OK\n"
            "[QUELIS]\n"
            " | Remplacer ?\n"
            " -> Non\n");
}

}  // namespace
}  // namespace ui_test
