// Windows: Access opening the live database while it is being updated (for reading and
// writing, sharing both) meets a sharing violation at every stage from the first look at the
// database to its replacement, while a reader gets in; once the update is over Access opens it.
#include <windows.h>

#include "pipeline_fixture.h"

namespace win32_autre_ecrivain_test {
namespace {

using pipeline_test::kBases;
using pipeline_test::kBasesLocal;
using pipeline_test::kJournal;
using pipeline_test::Lines;

// The error of an open made as `access` and `share` say, 0 when it opened (and was closed).
DWORD Ouvre(const std::filesystem::path& fichier, DWORD access, DWORD share) {
  const HANDLE h = ::CreateFileW(fichier.wstring().c_str(), access, share, nullptr, OPEN_EXISTING,
                                 FILE_ATTRIBUTE_NORMAL, nullptr);
  if (h == INVALID_HANDLE_VALUE) return ::GetLastError();
  ::CloseHandle(h);
  return 0;
}

class AutreEcrivainWin32Test : public pipeline_test::PipelineTest {};

TEST_F(AutreEcrivainWin32Test, AccessIsKeptOutAtEveryStageAndReadersAreNot) {
  baseVivante();
  const std::filesystem::path vivante = local(kBasesLocal + "Quelis.mdb");
  const std::vector<std::string> etapes{"Copie vers base temporaire...", "Réparation de la base temporaire...",
                                        "Mise à jour de la base temporaire...", "Compactage base temporaire",
                                        "Suppression bases temporaires"};
  std::vector<std::string> vues;
  std::vector<DWORD> acces, lecteurs;
  auto f = form();
  f->SurMessage = [&](std::string_view texte) {
    if (std::find(etapes.begin(), etapes.end(), std::string(texte)) == etapes.end()) return;
    vues.emplace_back(texte);
    acces.push_back(Ouvre(vivante, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE));
    lecteurs.push_back(Ouvre(vivante, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE));
  };
  f->Traitement();
  EXPECT_TRUE(f->Succes) << read(kJournal);
  f->Unload();
  ASSERT_EQ(vues, etapes);
  for (std::size_t i = 0; i < etapes.size(); ++i) {
    SCOPED_TRACE(etapes[i]);
    EXPECT_EQ(acces[i], static_cast<DWORD>(ERROR_SHARING_VIOLATION));
    EXPECT_EQ(lecteurs[i], 0u);
  }
  EXPECT_EQ(Ouvre(vivante, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE), 0u);
  EXPECT_EQ(rows(kBases + "Quelis.mdb", "VERSION", {"livers"}), (std::vector<Lines>{{"4.4.0.3"}}));
}

}  // namespace
}  // namespace win32_autre_ecrivain_test
