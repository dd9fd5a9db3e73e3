#include "platform/library/sqlite_handle.h"

namespace orvane::platform::sqlite {

Statement::Statement(sqlite3* database, std::string_view sql) {
    sqlite3_stmt* statement = nullptr;
    if (sqlite3_prepare_v2(database, sql.data(), static_cast<int>(sql.size()), &statement,
                           nullptr) == SQLITE_OK) {
        _statement.reset(statement);
    }
}

Statement& Statement::bind(int index, std::string_view text) {
    sqlite3_bind_text(get(), index, text.data(), static_cast<int>(text.size()), SQLITE_TRANSIENT);
    return *this;
}

Statement& Statement::bind(int index, double value) {
    sqlite3_bind_double(get(), index, value);
    return *this;
}

Statement& Statement::bind(int index, std::int64_t value) {
    sqlite3_bind_int64(get(), index, value);
    return *this;
}

Statement& Statement::bindNull(int index) {
    sqlite3_bind_null(get(), index);
    return *this;
}

int Statement::step() {
    return sqlite3_step(get());
}

void Statement::reset() {
    sqlite3_reset(get());
    sqlite3_clear_bindings(get());
}

std::string Statement::text(int column) const {
    const auto* bytes = sqlite3_column_text(get(), column);
    return bytes ? std::string(reinterpret_cast<const char*>(bytes),
                               static_cast<std::size_t>(sqlite3_column_bytes(get(), column)))
                 : std::string();
}

std::optional<std::string> Statement::optionalText(int column) const {
    if (sqlite3_column_type(get(), column) == SQLITE_NULL) {
        return std::nullopt;
    }
    return text(column);
}

double Statement::real(int column) const {
    return sqlite3_column_double(get(), column);
}

std::int64_t Statement::integer(int column) const {
    return sqlite3_column_int64(get(), column);
}

int execute(sqlite3* database, const char* sql) {
    return sqlite3_exec(database, sql, nullptr, nullptr, nullptr);
}

Transaction::Transaction(sqlite3* database)
    : _database(database),
      _status(execute(database, "BEGIN IMMEDIATE")),
      _open(_status == SQLITE_OK) {}

Transaction::~Transaction() {
    if (_open) {
        execute(_database, "ROLLBACK");
    }
}

int Transaction::commit() {
    const int status = execute(_database, "COMMIT");
    if (status == SQLITE_OK) {
        _open = false;
    }
    return status;
}

}  // namespace orvane::platform::sqlite
