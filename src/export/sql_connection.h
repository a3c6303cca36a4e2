#pragma once

#include <QHash>
#include <QMap>
#include <QString>

#include <memory>
#include <string>
#include <variant>

struct sqlite3;
struct sqlite3_stmt;

// A database connection and its query, on SQLite. Whatever fails throws UserError with SQLite's reason.

/// A connection to one database file.
class TSQLConnection {
public:
    explicit TSQLConnection(const QString &driverName = QStringLiteral("Sqlite")) : DriverName(driverName) {}
    ~TSQLConnection();
    TSQLConnection(const TSQLConnection &) = delete;
    TSQLConnection &operator=(const TSQLConnection &) = delete;

    const QString DriverName;

    /// "Database": the full path of the file. "FailIfMissing": "False" creates a missing file, all else refuses it.
    QMap<QString, QString> Params{{QStringLiteral("FailIfMissing"), QStringLiteral("True")}};

    /// Opens the database that the parameters name, after closing the one that was open.
    void Open();

    /// Closes the database, if one is open.
    void Close();

    [[nodiscard]] bool Connected() const { return m_handle != nullptr; }

    /// Executes a statement that returns nothing of interest.
    void ExecuteDirect(const QString &statement);

private:
    friend class TSQLQuery;

    struct CloseHandle {
        void operator()(sqlite3 *database) const;
    };

    /// Throws UserError if SQLite's code is that of an error.
    void check(int code) const;

    std::unique_ptr<sqlite3, CloseHandle> m_handle;
};

/// The value of one parameter of a query; none (NULL) until it is set.
class TSQLParam {
public:
    void setFloat(double number) { m_value = number; }
    void setWideString(const QString &text) { m_value = text; }
    /// Takes over `bytes`.
    void setBlob(std::string bytes) { m_value = std::move(bytes); }

private:
    friend class TSQLQuery;

    std::variant<std::monostate, double, QString, std::string> m_value;
};

/// One statement on a connection, which must outlive it.
class TSQLQuery {
public:
    explicit TSQLQuery(TSQLConnection &onConnection) : m_connection(onConnection) {}

    [[nodiscard]] const QString &SQL() const { return m_text; }

    /// Sets the statement and creates a parameter, without a value, for each name with a colon before it.
    void setSQL(const QString &statement);

    /// Throws UserError if the statement has no parameter of that name.
    [[nodiscard]] TSQLParam &ParamByName(const QString &name);

    /// Executes the statement: directly, without parameters, or prepared, with them.
    void ExecSQL(bool direct = false);

private:
    void bind(sqlite3_stmt *statement, int index, const TSQLParam &parameter) const;

    TSQLConnection &m_connection;
    QString m_text;
    QHash<QString, TSQLParam> m_parameters;
};

/// True if another connection, of any program, is using the database in `file` right now. A file that is no database
/// is not in use.
[[nodiscard]] bool databaseIsInUse(const QString &file);
