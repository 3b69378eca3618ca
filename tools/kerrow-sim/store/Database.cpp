#include "Database.h"

namespace kerrow::sim {

Database::~Database() {
    if (db_ != nullptr) {
        sqlite3_close(db_);
    }
}

bool Database::Open(const std::string& path, std::string* error) {
    // The store serialises its callers itself, so the connection needs no
    // locking of its own.
    int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX;
    if (sqlite3_open_v2(path.c_str(), &db_, flags, nullptr) != SQLITE_OK) {
        if (error != nullptr) {
            *error = db_ != nullptr ? sqlite3_errmsg(db_) : "out of memory";
        }
        return false;
    }
    sqlite3_busy_timeout(db_, 5000);
    return true;
}

bool Database::Execute(const char* sql) {
    return sqlite3_exec(db_, sql, nullptr, nullptr, nullptr) == SQLITE_OK;
}

int64_t Database::LastInsertId() const { return sqlite3_last_insert_rowid(db_); }

int Database::Changes() const { return sqlite3_changes(db_); }

std::string Database::LastError() const { return db_ != nullptr ? sqlite3_errmsg(db_) : ""; }

Statement::Statement(Database& db, const char* sql) {
    if (sqlite3_prepare_v2(db.Handle(), sql, -1, &stmt_, nullptr) != SQLITE_OK) {
        sqlite3_finalize(stmt_);
        stmt_ = nullptr;
    }
}

Statement::~Statement() { sqlite3_finalize(stmt_); }

Statement& Statement::Bind(int index, int64_t value) {
    if (stmt_ == nullptr || sqlite3_bind_int64(stmt_, index, value) != SQLITE_OK) {
        failed_ = true;
    }
    return *this;
}

Statement& Statement::Bind(int index, const std::string& value) {
    if (stmt_ == nullptr ||
        sqlite3_bind_text(stmt_, index, value.data(), static_cast<int>(value.size()),
                          SQLITE_TRANSIENT) != SQLITE_OK) {
        failed_ = true;
    }
    return *this;
}

bool Statement::Step() {
    if (stmt_ == nullptr || failed_) {
        return false;
    }
    int rc = sqlite3_step(stmt_);
    if (rc == SQLITE_ROW) {
        return true;
    }
    if (rc != SQLITE_DONE) {
        failed_ = true;
    }
    return false;
}

bool Statement::Run() {
    while (Step()) {
    }
    return stmt_ != nullptr && !failed_;
}

void Statement::Reset() {
    if (stmt_ != nullptr) {
        sqlite3_reset(stmt_);
        sqlite3_clear_bindings(stmt_);
    }
    failed_ = false;
}

int64_t Statement::Int(int column) const { return sqlite3_column_int64(stmt_, column); }

std::string Statement::Text(int column) const {
    const unsigned char* text = sqlite3_column_text(stmt_, column);
    int size = sqlite3_column_bytes(stmt_, column);
    return text != nullptr ? std::string(reinterpret_cast<const char*>(text), size) : std::string();
}

bool Statement::Null(int column) const { return sqlite3_column_type(stmt_, column) == SQLITE_NULL; }

Transaction::Transaction(Database& db) : db_(db) { began_ = db_.Execute("BEGIN IMMEDIATE"); }

Transaction::~Transaction() {
    if (began_ && !done_) {
        db_.Execute("ROLLBACK");
    }
}

bool Transaction::Commit() {
    if (!began_ || done_) {
        return false;
    }
    done_ = db_.Execute("COMMIT");
    return done_;
}

}  // namespace kerrow::sim
