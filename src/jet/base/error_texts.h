// The one catalogue of French error texts: every Visual Basic / VBA run-time, Jet engine and DAO
// number the program can meet, with the text a French Windows shows for it (VB6 run-time,
// Access 2000–2003, DAO 3.6). The engine, the SQL layer, the object model and the run-time
// services all word their errors from here, so one number never reads two ways.
//
// Conventions, as the originals have them (the program's logs quote Err.Description word for
// word): a Visual Basic run-time text has no final period; a Jet or DAO text ends as Access
// shows it. '|' marks where the text names an object (file, table, field, expression).
#pragma once

#include <span>
#include <string>
#include <string_view>

namespace jet {

// The families of numbers; each has its conventions and one text for numbers it does not know.
enum class ErrorFamily {
  VisualBasic,  // the VB6 / VBA run-time, and any number outside the engine's range
  Engine,       // Jet and DAO, 3000 to 3999
};

ErrorFamily error_family(int number);

// How far a text has been checked against public French material.
enum class TextSource {
  FrenchSources,  // matches public French material (named beside each group)
  Previous,       // kept as this program worded it before; not found in public French material
  Provisional,    // a stand-in for a message not yet seen in French
  EngineOwn,      // the engine's own text: Jet has no such message
};

struct ErrorText {
  int number;
  std::string_view text;  // '|' unfilled
  TextSource source;
};

// Jet words error 3075 several ways, by what it met in the expression; the number stays 3075.
enum class ExpressionSyntax {
  MissingOperator,  // the default wording of 3075
  String,           // a text literal left open
  Date,             // a malformed date literal
  Comma,            // a comma out of place
  ArgumentCount,    // a function called with the wrong number of arguments
};

// Every catalogued number once, in increasing order; 3075 with its default wording.
std::span<const ErrorText> error_catalogue();

// The wordings of 3075, one per ExpressionSyntax value in declaration order.
std::span<const ErrorText> expression_syntax_wordings();

// The catalogued text of `number` ('|' unfilled); empty when the number is not catalogued.
std::string_view error_text(int number);

// The text of `number` with '|' replaced by `argument`; for an uncatalogued number, the
// fallback of its family:
//   VisualBasic: "Erreur définie par l'application ou par l'objet", what VB's Error and
//                Err.Raise give a number the run-time does not know;
//   Engine:      "Erreur du moteur de base de données n° <number>.", the engine's own text
//                (Jet has no generic message; every number the program raises is catalogued).
std::string error_message(int number, std::string_view argument = {});

// The 3075 text in the given wording, `expression` filling its placeholder.
std::string error_message(ExpressionSyntax wording, std::string_view expression);

}  // namespace jet
