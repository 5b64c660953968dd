// The catalogue of French error texts: one text per number, the conventions of each family,
// the wordings of 3075 and the fallbacks.
#include <gtest/gtest.h>

#include <set>
#include <string>

#include "jet/base/error_texts.h"

namespace {

using jet::ErrorFamily;
using jet::ExpressionSyntax;

bool ends_with(std::string_view text, std::string_view end) {
  return text.size() >= end.size() && text.substr(text.size() - end.size()) == end;
}

TEST(ErrorCatalogue, HoldsEachNumberOnceAndFindsItsText) {
  const auto catalogue = jet::error_catalogue();
  ASSERT_FALSE(catalogue.empty());
  int previous = 0;
  std::set<std::string_view> texts;
  for (const auto& entry : catalogue) {
    EXPECT_GT(entry.number, previous) << "out of order or twice: " << entry.number;
    previous = entry.number;
    EXPECT_FALSE(entry.text.empty()) << entry.number;
    EXPECT_EQ(jet::error_text(entry.number), entry.text) << entry.number;
    EXPECT_TRUE(texts.insert(entry.text).second) << "two numbers share the text of " << entry.number;
  }
  EXPECT_TRUE(jet::error_text(4).empty());
  EXPECT_TRUE(jet::error_text(3999).empty());
}

TEST(ErrorCatalogue, FollowsTheConventionsOfEachFamily) {
  for (const auto& entry : jet::error_catalogue()) {
    const std::string_view text = entry.text;
    EXPECT_NE(text.front(), ' ') << entry.number;
    EXPECT_NE(text.back(), ' ') << entry.number;
    EXPECT_EQ(text.find("  "), std::string_view::npos) << entry.number;
    if (jet::error_family(entry.number) == ErrorFamily::VisualBasic) {
      // Err.Description of the VB run-time has no final period; the logs quote it as is.
      EXPECT_LT(entry.number, 1000) << entry.number;
      EXPECT_NE(text.back(), '.') << entry.number << ": " << text;
    } else {
      EXPECT_TRUE(ends_with(text, ".")) << entry.number << ": " << text;
    }
  }
}

TEST(ErrorCatalogue, FillsThePlaceholderWithTheArgument) {
  for (const auto& entry : jet::error_catalogue()) {
    const std::string filled = jet::error_message(entry.number, "Fiche_Test");
    EXPECT_EQ(filled.find('|'), std::string::npos) << entry.number;
    const bool named = entry.text.find('|') != std::string_view::npos;
    EXPECT_EQ(filled.find("Fiche_Test") != std::string::npos, named) << entry.number;
  }
  EXPECT_EQ(jet::error_message(3024, "C:\\Quelis\\Bases\\Quelis.mdb"),
            "Fichier 'C:\\Quelis\\Bases\\Quelis.mdb' introuvable.");
  EXPECT_EQ(jet::error_message(3061, "2"), "Trop peu de paramètres. 2 attendu.");
  EXPECT_EQ(jet::error_message(3024), "Fichier '' introuvable.") << "no argument leaves the quotes empty";
}

TEST(ErrorCatalogue, KeepsTheWordingsOf3075Apart) {
  const auto wordings = jet::expression_syntax_wordings();
  ASSERT_EQ(wordings.size(), 5u);
  EXPECT_EQ(wordings[0].text, jet::error_text(3075)) << "the default wording is the catalogue's";
  std::set<std::string> messages;
  for (const auto& wording : wordings) {
    EXPECT_EQ(wording.number, 3075);
    EXPECT_TRUE(ends_with(wording.text, "'|'.")) << wording.text;
  }
  for (auto syntax : {ExpressionSyntax::MissingOperator, ExpressionSyntax::String, ExpressionSyntax::Date,
                      ExpressionSyntax::Comma, ExpressionSyntax::ArgumentCount}) {
    const std::string message = jet::error_message(syntax, "[A] [B]");
    EXPECT_TRUE(ends_with(message, "'[A] [B]'.")) << message;
    EXPECT_TRUE(messages.insert(message).second) << "two wordings read alike: " << message;
  }
  EXPECT_EQ(jet::error_message(ExpressionSyntax::MissingOperator, "[A] [B]"), jet::error_message(3075, "[A] [B]"));
}

TEST(ErrorCatalogue, GivesEachFamilyOneFallback) {
  EXPECT_EQ(jet::error_family(2999), ErrorFamily::VisualBasic);
  EXPECT_EQ(jet::error_family(3000), ErrorFamily::Engine);
  EXPECT_EQ(jet::error_family(3999), ErrorFamily::Engine);
  EXPECT_EQ(jet::error_family(4000), ErrorFamily::VisualBasic);
  EXPECT_EQ(jet::error_family(-2147221504 + 12), ErrorFamily::VisualBasic);

  const std::string vb = "Erreur définie par l'application ou par l'objet";
  EXPECT_EQ(jet::error_message(31999), vb);
  EXPECT_EQ(jet::error_message(4), vb);
  EXPECT_EQ(jet::error_message(-2147221504 + 12, "ignoré"), vb);
  EXPECT_EQ(jet::error_message(3998), "Erreur du moteur de base de données n° 3998.");
  EXPECT_EQ(jet::error_message(3000, "ignoré"), "Erreur du moteur de base de données n° 3000.");
}

// Texts that once read otherwise and must keep the French run-time's wording.
TEST(ErrorCatalogue, WordsTheRunTimeAsFrenchVbDoes) {
  EXPECT_EQ(jet::error_message(13), "Incompatibilité de type");
  EXPECT_EQ(jet::error_message(91), "Variable objet ou variable de bloc With non définie");
  EXPECT_EQ(jet::error_message(6), "Dépassement de capacité");
  EXPECT_EQ(jet::error_message(9), "L'indice n'appartient pas à la sélection");
}

}  // namespace
