#include "jet/sql/sql_error.h"

#include <string>

namespace jet::sql {
namespace {

// French texts; '|' marks where the argument goes.
std::string_view text_of(SqlError code) {
  switch (code) {
    case SqlError::InvalidProcedureCall: return "Argument ou appel de procédure incorrect";
    case SqlError::Overflow: return "Dépassement de capacité";
    case SqlError::DivisionByZero: return "Division par zéro";
    case SqlError::TypeMismatch: return "Type incompatible";
    case SqlError::InvalidPattern: return "Modèle de chaîne incorrect";
    case SqlError::InvalidUseOfNull: return "Utilisation incorrecte de Null";
    case SqlError::ExpressionSyntax:
      return "Erreur de syntaxe (opérateur absent) dans l'expression '|'.";
    case SqlError::ExpressionStringSyntax:
      return "Erreur de syntaxe dans la chaîne dans l'expression '|'.";
    case SqlError::ExpressionDateSyntax:
      return "Erreur de syntaxe dans la date dans l'expression '|'.";
    case SqlError::ExpressionCommaSyntax:
      return "Erreur de syntaxe (virgule) dans l'expression '|'.";
    case SqlError::WrongArgumentCount:
      return "Nombre d'arguments incorrect utilisé avec la fonction dans l'expression de "
             "requête '|'.";
    case SqlError::UndefinedFunction: return "Fonction '|' non définie dans l'expression.";
    case SqlError::InvalidStatement:
      return "Instruction SQL non valide ; 'DELETE', 'INSERT', 'PROCEDURE', 'SELECT' ou 'UPDATE' "
             "attendu.";
    case SqlError::FromClauseSyntax: return "Erreur de syntaxe dans la clause FROM.";
    case SqlError::InsertSyntax: return "Erreur de syntaxe dans l'instruction INSERT INTO.";
    case SqlError::OrderByClauseSyntax: return "Erreur de syntaxe dans la clause ORDER BY.";
    case SqlError::SelectSyntax:
      return "L'instruction SELECT inclut un mot réservé ou un nom d'argument mal orthographié ou "
             "manquant, ou la ponctuation est incorrecte.";
    case SqlError::CharactersAfterEnd: return "Caractères trouvés après la fin de l'instruction SQL.";
    case SqlError::UpdateSyntax: return "Erreur de syntaxe dans l'instruction UPDATE.";
    case SqlError::ConstraintSyntax: return "Erreur de syntaxe dans la clause CONSTRAINT.";
    case SqlError::CreateTableSyntax: return "Erreur de syntaxe dans l'instruction CREATE TABLE.";
    case SqlError::CreateIndexSyntax: return "Erreur de syntaxe dans l'instruction CREATE INDEX.";
    case SqlError::FieldDefinitionSyntax: return "Erreur de syntaxe dans la définition de champ.";
    case SqlError::AlterTableSyntax: return "Erreur de syntaxe dans l'instruction ALTER TABLE.";
    case SqlError::ValueCountMismatch:
      return "Le nombre de valeurs de la requête et le nombre de champs de destination sont "
             "différents.";
    case SqlError::DropSyntax:
      return "Erreur de syntaxe dans l'instruction DROP TABLE ou DROP INDEX.";
    case SqlError::CriteriaTypeMismatch:
      return "Type de données incompatible dans l'expression du critère.";
    case SqlError::CannotExecuteSelect: return "Impossible d'exécuter une requête Sélection.";
    case SqlError::ReadOnlyObject:
      return "Impossible de mettre à jour. Base de données ou objet en lecture seule.";
    case SqlError::AmbiguousField:
      return "Le champ spécifié '|' peut faire référence à plusieurs tables de la clause FROM "
             "de votre instruction SQL.";
    case SqlError::NotPartOfAggregate:
      return "Vous avez essayé d'exécuter une requête ne comprenant pas l'expression spécifiée "
             "'|' comme une partie de la fonction d'agrégat.";
    case SqlError::UnknownInsertField:
      return "L'instruction INSERT INTO contient le nom de champ inconnu '|'. Assurez-vous que "
             "vous avez saisi le nom correctement et recommencez l'opération.";
    case SqlError::DeleteTableUnspecified:
      return "Spécifiez la table contenant les enregistrements à supprimer.";
    case SqlError::CannotGroupOnField:
      return "Impossible de regrouper les champs sélectionnés avec '*'.";
  }
  return "Erreur de syntaxe.";
}

int number_of(SqlError code) {
  switch (code) {
    case SqlError::ExpressionStringSyntax:
    case SqlError::ExpressionDateSyntax:
    case SqlError::ExpressionCommaSyntax:
    case SqlError::WrongArgumentCount:
      return 3075;
    default:
      return static_cast<int>(code);
  }
}

}  // namespace

jet::Error sql_error(SqlError code, std::string_view argument) {
  // Numbers the engine already words are taken from it, so the two never drift apart.
  switch (code) {
    case SqlError::ExpressionSyntax:
    case SqlError::FromClauseSyntax:
    case SqlError::InsertSyntax:
    case SqlError::UpdateSyntax:
      return jet::Error(static_cast<jet::ErrorCode>(code), argument);
    default:
      break;
  }
  std::string text;
  for (char c : text_of(code)) {
    if (c == '|') text += argument;
    else text += c;
  }
  return jet::Error(number_of(code), std::move(text));
}

jet::Error too_few_parameters(int missing) {
  return jet::Error(jet::ErrorCode::TooFewParameters, std::to_string(missing));
}

}  // namespace jet::sql
