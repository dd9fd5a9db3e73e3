// Owning handles for SQLite: a connection and a prepared statement, each closed by its
// destructor, with the few calls the photo library's index needs.
#pragma once

#include <sqlite3.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace orvane::platform::sqlite {

struct CloseDatabase {
    void operator()(sqlite3* database) const { sqlite3_close_v2(database); }
};
using Database = std::unique_ptr<sqlite3, CloseDatabase>;

struct FinalizeStatement {
    void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
};

// A prepared statement. Binding indices start at 1, as SQLite counts them.
class Statement {
  public:
    Statement() = default;
    // Prepares `sql`; check ok() and the connection's message on failure.
    Statement(sqlite3* database, std::string_view sql);

    bool ok() const { return _statement != nullptr; }
    sqlite3_stmt* get() const { return _statement.get(); }

    Statement& bind(int index, std::string_view text);
    Statement& bind(int index, double value);
    Statement& bind(int index, std::int64_t value);
    Statement& bindNull(int index);

    // SQLITE_ROW, SQLITE_DONE or an error code.
    int step();
    // Clears the bindings and rewinds, for the next use.
    void reset();

    std::string text(int column) const;
    std::optional<std::string> optionalText(int column) const;
    double real(int column) const;
    std::int64_t integer(int column) const;

  private:
    std::unique_ptr<sqlite3_stmt, FinalizeStatement> _statement;
};

// Runs statements without results; answers SQLITE_OK or the error code.
int execute(sqlite3* database, const char* sql);

// Begins an immediate transaction and rolls it back unless committed.
class Transaction {
  public:
    explicit Transaction(sqlite3* database);
    ~Transaction();
    Transaction(const Transaction&) = delete;
    Transaction& operator=(const Transaction&) = delete;

    // SQLITE_OK when the transaction began.
    int status() const { return _status; }
    int commit();

  private:
    sqlite3* _database;
    int _status;
    bool _open;
};

}  // namespace orvane::platform::sqlite
