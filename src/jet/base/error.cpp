#include "jet/base/error.h"

#include <map>

namespace jet {
namespace {

// Texts as a French Windows shows them; '|' marks where the argument goes.
const std::map<int, std::string_view>& texts() {
  static const std::map<int, std::string_view> table{
      {6, "Dépassement de capacité."},
      {13, "Type incompatible."},
      {3010, "La table '|' existe déjà."},
      {3021, "Aucun enregistrement en cours."},
      {3022,
       "Les modifications apportées à la table n'ont pas été effectuées car elles entraîneraient "
       "des valeurs en double dans l'index, la clé primaire ou la relation. Modifiez les données "
       "du ou des champs contenant des valeurs en double, supprimez l'index ou redéfinissez-le "
       "pour permettre les entrées en double et réessayez."},
      {3024, "Fichier '|' introuvable."},
      {3026, "Espace disque insuffisant."},
      {3040, "Erreur d'E/S disque pendant la lecture."},
      {3043, "Erreur de disque ou de réseau."},
      {3041,
       "Impossible d'ouvrir une base de données créée avec une version antérieure de votre "
       "application."},
      {3044,
       "'|' n'est pas un chemin d'accès valide. Assurez-vous que le chemin d'accès est "
       "correctement orthographié et que vous êtes connecté au serveur sur lequel le fichier "
       "se trouve."},
      {3045, "Impossible d'utiliser '|' ; fichier déjà utilisé."},
      {3049,
       "Impossible d'ouvrir la base de données '|'. Elle n'est peut-être pas une base de données "
       "reconnue par votre application, ou le fichier est peut-être endommagé."},
      {3061, "Trop peu de paramètres. | attendu."},
      {3075, "Erreur de syntaxe (opérateur absent) dans l'expression '|'."},
      {3078,
       "Le moteur de base de données Microsoft Jet ne peut pas trouver la table ou la requête "
       "source '|'. Assurez-vous qu'elle existe et que son nom est correctement orthographié."},
      {3131, "Erreur de syntaxe dans la clause FROM."},
      {3134, "Erreur de syntaxe dans l'instruction INSERT INTO."},
      {3144, "Erreur de syntaxe dans l'instruction UPDATE."},
      {3163,
       "Le champ est trop petit pour accepter le volume de données que vous avez tenté "
       "d'ajouter. Essayez d'insérer ou de coller une quantité moins importante de données."},
      {3191, "Impossible de définir le champ '|' plusieurs fois."},
      {3200,
       "Impossible de supprimer ou de modifier l'enregistrement car la table '|' comprend des "
       "enregistrements connexes."},
      {3201,
       "Impossible d'ajouter ou de modifier un enregistrement car un enregistrement connexe est "
       "requis dans la table '|'."},
      {3251, "Opération non autorisée pour ce type d'objet."},
      {3265, "Élément non trouvé dans cette collection."},
      {3314,
       "Le champ '|' ne peut pas contenir de valeur Null car la propriété Required de ce champ "
       "est True. Entrez une valeur dans ce champ."},
      {3315, "Le champ '|' ne peut pas être une chaîne de longueur nulle."},
      {3349, "Dépassement de capacité du champ numérique."},
      {3343, "Format de base de données '|' non reconnu."},
      {3356,
       "Vous tentez d'ouvrir une base de données déjà ouverte en mode exclusif par "
       "l'utilisateur 'Admin' sur l'ordinateur '|'. Réessayez lorsque la base de données sera "
       "disponible."},
      {3431, "Caractère sans clé d'index connue dans la valeur '|' ; écriture refusée."},
      {3125,
       "'|' n'est pas un nom correct. Vérifiez qu'il ne contient pas de caractères ou de "
       "ponctuation non valides et qu'il n'est pas trop long."},
      {3204, "La base de données existe déjà."},
      {3283, "La clé primaire existe déjà."},
      {3284, "L'index existe déjà."},
      {3012, "L'objet '|' existe déjà."},
      {3058, "L'index ou la clé primaire ne peut pas contenir une valeur Null."},
      {3280, "Impossible de supprimer un champ qui fait partie d'un index ou qui est nécessaire au système."},
      {3219, "Opération non valide."},
  };
  return table;
}

}  // namespace

std::string describe(int number, std::string_view argument) {
  const auto& table = texts();
  auto it = table.find(number);
  if (it == table.end()) return "Erreur du moteur de base de données n° " + std::to_string(number) + ".";
  std::string text;
  for (char c : it->second) {
    if (c == '|') text += argument;
    else text += c;
  }
  return text;
}

Error::Error(int number, std::string description)
    : std::runtime_error(description), number_(number), description_(std::move(description)) {}

Error::Error(ErrorCode code, std::string_view argument)
    : Error(static_cast<int>(code), describe(static_cast<int>(code), argument)) {}

}  // namespace jet
