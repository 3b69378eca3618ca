// A small RAII layer over SQLite's C interface: a connection, prepared
// statements with typed binding and reading, and transactions.
#pragma once

#include <sqlite3.h>

#include <cstdint>
#include <string>

namespace kerrow::sim {

class Database {
  public:
    Database() = default;
    ~Database();
    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;

    // Opens (creating) the database file; false with the reason in *error.
    bool Open(const std::string& path, std::string* error);
    // Runs statements without results; false on failure (see LastError).
    bool Execute(const char* sql);
    int64_t LastInsertId() const;
    int Changes() const;
    std::string LastError() const;
    sqlite3* Handle() const { return db_; }

  private:
    sqlite3* db_ = nullptr;
};

class Statement {
  public:
    Statement(Database& db, const char* sql);
    ~Statement();
    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;

    // True while preparing, binding and stepping have not failed.
    bool Ok() const { return stmt_ != nullptr && !failed_; }
    // Parameters are numbered from 1; each returns *this for chaining.
    Statement& Bind(int index, int64_t value);
    Statement& Bind(int index, const std::string& value);
    // Steps once: true while a row is available.
    bool Step();
    // Steps to the end: true when the statement completed without error.
    bool Run();
    void Reset();

    int64_t Int(int column) const;
    std::string Text(int column) const;
    bool Null(int column) const;

  private:
    sqlite3_stmt* stmt_ = nullptr;
    bool failed_ = false;
};

// BEGIN IMMEDIATE on construction; ROLLBACK on destruction unless Commit()
// succeeded.
class Transaction {
  public:
    explicit Transaction(Database& db);
    ~Transaction();
    Transaction(const Transaction&) = delete;
    Transaction& operator=(const Transaction&) = delete;

    bool Began() const { return began_; }
    bool Commit();

  private:
    Database& db_;
    bool began_ = false;
    bool done_ = false;
};

}  // namespace kerrow::sim
