#include "jet/catalog/query_from.h"

#include <algorithm>

#include "jet/base/error.h"
#include "jet/record/properties_codec.h"
#include "jet/catalog/query_sql.h"

namespace jet {
namespace {

[[noreturn]] void damaged_query_from(const std::string& detail) {
  throw Error(static_cast<int>(ErrorCode::DatabaseDamaged), "Requête endommagée : " + detail);
}

const char* join_keyword(std::int16_t kind) {
  switch (static_cast<JoinKind>(kind)) {
    case JoinKind::Inner: return " INNER JOIN ";
    case JoinKind::Left: return " LEFT JOIN ";
    case JoinKind::Right: return " RIGHT JOIN ";
  }
  damaged_query_from("type de jointure " + std::to_string(kind) + " inconnu");
}

// A table of the FROM list or a join of two such sources, kept in one pool and referred to
// by index so that joins can nest without ownership juggling.
struct Source {
  std::string key;   // simple source: the name joins refer to (alias, else table)
  std::string text;  // simple source: its SQL
  int left = -1;     // join: the two sides
  int right = -1;
  std::int16_t kind = 0;
  std::vector<std::string> conditions;  // join: latest first

  bool is_join() const noexcept { return left >= 0; }
};

class FromBuilder {
 public:
  int add_table(std::string key, std::string text) {
    pool_.push_back(Source{std::move(key), std::move(text), -1, -1, 0, {}});
    return static_cast<int>(pool_.size()) - 1;
  }

  bool contains(int node, std::string_view key) const {
    const Source& s = pool_[node];
    if (!s.is_join()) return property_name_equals(s.key, key);
    return contains(s.left, key) || contains(s.right, key);
  }

  void join(std::vector<int>& items, const QueryJoin& j) {
    join_keyword(j.kind);  // refuse unknown kinds early
    const std::string on = j.on.value_or("");
    auto find = [&](std::string_view key) {
      return std::find_if(items.begin(), items.end(), [&](int n) { return contains(n, key); });
    };
    auto from = find(j.left);
    auto to = find(j.right);
    if (from != items.end() && from == to) {
      int node = *from;
      // Descend to the innermost join holding both tables.
      for (;;) {
        const Source& s = pool_[node];
        if (s.is_join() && contains(s.left, j.left) && contains(s.left, j.right)) {
          node = s.left;
        } else if (s.is_join() && contains(s.right, j.left) && contains(s.right, j.right)) {
          node = s.right;
        } else {
          break;
        }
      }
      Source& s = pool_[node];
      if (!s.is_join() || s.kind != j.kind) {
        damaged_query_from("jointures de types différents entre " + j.left + " et " + j.right);
      }
      s.conditions.insert(s.conditions.begin(), on);
      return;
    }
    const int left = from != items.end() ? *from : add_table(j.left, sql_name(j.left));
    const int right = to != items.end() ? *to : add_table(j.right, sql_name(j.right));
    std::erase_if(items, [&](int n) { return n == left || n == right; });
    Source joined;
    joined.left = left;
    joined.right = right;
    joined.kind = j.kind;
    joined.conditions.push_back(on);
    pool_.push_back(std::move(joined));
    items.push_back(static_cast<int>(pool_.size()) - 1);
  }

  std::string render(int node, bool top) const {
    const Source& s = pool_[node];
    if (!s.is_join()) return s.text;
    std::string out = top ? "" : "(";
    out += render(s.left, false) + join_keyword(s.kind) + render(s.right, false) + " ON ";
    if (s.conditions.size() == 1) {
      out += s.conditions.front();
    } else {
      out += "(";
      for (std::size_t i = 0; i < s.conditions.size(); ++i) {
        if (i > 0) out += ") AND (";
        out += s.conditions[i];
      }
      out += ")";
    }
    if (!top) out += ")";
    return out;
  }

 private:
  std::vector<Source> pool_;
};

}  // namespace

std::vector<std::string> from_items(const QueryDef& def) {
  FromBuilder builder;
  std::vector<int> items;
  for (const auto& t : def.tables) {
    if (!t.name) continue;  // union parts are not tables
    std::string text = sql_name(*t.name);
    if (t.alias) text += " AS " + sql_name(*t.alias);
    items.push_back(builder.add_table(t.alias.value_or(*t.name), std::move(text)));
  }
  for (const auto& j : def.joins) builder.join(items, j);
  std::vector<std::string> out;
  for (int n : items) out.push_back(builder.render(n, true));
  return out;
}

}  // namespace jet
