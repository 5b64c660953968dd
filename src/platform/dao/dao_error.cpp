#include "platform/dao/dao_error.h"

#include <map>
#include <string>

namespace platform::dao {
namespace {

// Texts the engine does not word itself, as a French Windows shows them; '|' marks the
// argument.
const std::map<int, std::string_view>& texts() {
  static const std::map<int, std::string_view> table{
      {3001, "Argument non valide."},
      {3012, "L'objet '|' existe déjà."},
      {3020, "Update ou CancelUpdate sans AddNew ou Edit."},
      {3027, "Mise à jour impossible. La base de données ou l'objet est en lecture seule."},
      {3034,
       "Vous avez tenté de valider ou d'annuler une transaction sans l'avoir commencée au "
       "préalable."},
      {3167, "Enregistrement supprimé."},
      {3204, "La base de données existe déjà."},
      {3219, "Opération non valide."},
      {3259, "Type de données de champ non valide."},
      {3264, "Aucun champ défini - impossible d'ajouter une table ou un index."},
      {3270, "Propriété non trouvée."},
      {3283, "Une clé primaire existe déjà."},
      {3284, "L'index existe déjà."},
      {3366, "Impossible d'ajouter une relation sans champ défini."},
      {3367, "Ajout impossible. Un objet portant ce nom existe déjà dans la collection."},
      {3420, "Objet invalide ou n'est plus défini."},
  };
  return table;
}

}  // namespace

platform::Error daoError(int number, std::string_view argument) {
  const auto& table = texts();
  auto it = table.find(number);
  if (it == table.end()) return platform::Error(number, jet::describe(number, argument));
  std::string text;
  for (char c : it->second) {
    if (c == '|') text += argument;
    else text += c;
  }
  return platform::Error(number, text);
}

}  // namespace platform::dao
