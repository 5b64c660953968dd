// The executor's entry points: parse, bind, dispatch by statement kind.
#include "jet/exec/executor.h"

#include "jet/exec/exec_internal.h"
#include "jet/sql/parser.h"
#include "jet/sql/sql_error.h"

namespace jet::sql {

DatabaseOpener local_file_opener() {
  return [](std::string_view path) { return jet::Database::open(std::string(path)); };
}

Parameters::Parameters(std::initializer_list<std::pair<std::string, Value>> values) {
  for (const auto& [name, value] : values) set(name, value);
}

void Parameters::set(std::string_view name, Value value) { values_[detail::upper(name)] = std::move(value); }

const Value* Parameters::find(std::string_view name) const {
  auto it = values_.find(detail::upper(name));
  return it == values_.end() ? nullptr : &it->second;
}

struct Executor::Impl {
  jet::Database* read_db = nullptr;
  jet::WritableDatabase* write_db = nullptr;
  DatabaseOpener opener;
  Progress progress;

  detail::Run make_run(const Statement& st, const Parameters& parameters) {
    detail::Run run(read_db, write_db, opener, parameters, st.parameters);
    std::visit(
        [&](const auto& body) {
          using T = std::decay_t<decltype(body)>;
          if constexpr (std::is_same_v<T, Select>) {
            detail::mention_names(body, run.mentioned);
          } else if constexpr (std::is_same_v<T, Update> || std::is_same_v<T, Delete>) {
            for (const auto& c : referenced_columns(st)) run.mentioned.insert(detail::upper(c.name));
            if constexpr (std::is_same_v<T, Update>) {
              for (const auto& a : body.assignments) detail::mention_names(*a.value, run.mentioned);
              if (body.where) detail::mention_names(*body.where, run.mentioned);
            } else {
              if (body.where) detail::mention_names(*body.where, run.mentioned);
            }
          } else if constexpr (std::is_same_v<T, Insert>) {
            if (body.select) detail::mention_names(*body.select, run.mentioned);
          }
        },
        st.body);
    return run;
  }
};

Executor::Executor(jet::WritableDatabase& db, DatabaseOpener opener) : impl_(std::make_unique<Impl>()) {
  impl_->write_db = &db;
  impl_->opener = std::move(opener);
}

Executor::Executor(jet::Database& db, DatabaseOpener opener) : impl_(std::make_unique<Impl>()) {
  impl_->read_db = &db;
  impl_->opener = std::move(opener);
}

Executor::~Executor() = default;

std::int64_t Executor::execute(std::string_view sql, const Parameters& parameters, RowErrors row_errors) {
  const Statement st = parse_statement(sql);
  detail::Run run = impl_->make_run(st, parameters);
  run.row_errors = row_errors;
  run.progress = impl_->progress ? &impl_->progress : nullptr;
  return std::visit(
      [&](const auto& body) -> std::int64_t {
        using T = std::decay_t<decltype(body)>;
        if constexpr (std::is_same_v<T, Select>) {
          if (!body.into) throw sql_error(SqlError::CannotExecuteSelect);
          return detail::run_select_into(run, body);
        } else if constexpr (std::is_same_v<T, Update>) {
          return detail::run_update(run, body);
        } else if constexpr (std::is_same_v<T, Delete>) {
          return detail::run_delete(run, body);
        } else if constexpr (std::is_same_v<T, Insert>) {
          return detail::run_insert(run, body);
        } else if constexpr (std::is_same_v<T, CreateTable>) {
          return detail::run_create_table(run, body);
        } else if constexpr (std::is_same_v<T, AlterTable>) {
          return detail::run_alter_table(run, body);
        } else if constexpr (std::is_same_v<T, CreateIndex>) {
          return detail::run_create_index(run, body);
        } else if constexpr (std::is_same_v<T, DropIndex>) {
          return detail::run_drop_index(run, body);
        } else {
          static_assert(std::is_same_v<T, DropTable>);
          return detail::run_drop_table(run, body);
        }
      },
      st.body);
}

ResultSet Executor::select(std::string_view sql, const Parameters& parameters) {
  const Statement st = parse_statement(sql);
  const auto* select = std::get_if<Select>(&st.body);
  if (!select || select->into) throw sql_error(SqlError::InvalidStatement);
  detail::Run run = impl_->make_run(st, parameters);
  return detail::run_select(run, *select, nullptr);
}

std::vector<std::string> Executor::parameter_names(std::string_view sql) {
  const Statement st = parse_statement(sql);
  const Parameters none;
  detail::Run run = impl_->make_run(st, none);
  std::vector<std::string> names;
  for (const auto& d : st.parameters) names.push_back(d.name);
  try {
    detail::Scope scope(run, nullptr);
    if (auto* s = std::get_if<Select>(&st.body)) {
      scope.bind_select(*s);
    } else if (auto* u = std::get_if<Update>(&st.body)) {
      scope.add_sources(*u->target);
      for (const auto& a : u->assignments) scope.bind_all(*a.value);
      if (u->where) scope.bind_all(*u->where);
    } else if (auto* d = std::get_if<Delete>(&st.body)) {
      for (const auto& t : d->from) scope.add_sources(*t);
      if (d->where) scope.bind_all(*d->where);
    } else if (auto* i = std::get_if<Insert>(&st.body)) {
      for (const auto& v : i->values) scope.bind_all(*v);
    }
  } catch (const jet::Error&) {
  }
  for (const auto& n : run.missing_names()) {
    bool known = false;
    for (const auto& d : names) known |= detail::upper(d) == detail::upper(n);
    if (!known) names.push_back(n);
  }
  return names;
}

void Executor::set_progress(Progress progress) { impl_->progress = std::move(progress); }

}  // namespace jet::sql
