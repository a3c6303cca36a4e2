#include "export/sql_connection.h"

#include "platform/file_name.h"
#include "util/user_error.h"

#include <QRegularExpression>

#include <sqlite3.h>

#include <array>
#include <utility>

namespace {

/// SQLite's reason for an error code, in Russian where users meet it.
QString reasonOf(int code, sqlite3 *database)
{
    static constexpr std::array<std::pair<int, const char *>, 9> reasons{{
        {SQLITE_FULL, "на диске нет свободного места"},
        {SQLITE_IOERR, "ошибка ввода-вывода"},
        {SQLITE_READONLY, "база данных доступна только для чтения"},
        {SQLITE_BUSY, "база данных занята другой программой"},
        {SQLITE_LOCKED, "база данных занята"},
        {SQLITE_CANTOPEN, "файл не открывается"},
        {SQLITE_NOTADB, "файл не является базой данных"},
        {SQLITE_TOOBIG, "данные слишком велики"},
        {SQLITE_NOMEM, "не хватает памяти"},
    }};
    constexpr int primaryCode = 0xFF;
    for (const auto &[known, reason] : reasons) {
        if ((code & primaryCode) == known)
            return QString::fromUtf8(reason);
    }
    return QString::fromUtf8(sqlite3_errmsg(database));
}

int openDatabase(const QString &file, sqlite3 **database, int flags)
{
    return sqlite3_open_v2(openableName(file.toStdString()).c_str(), database, flags, nullptr);
}

struct FinalizeStatement {
    void operator()(sqlite3_stmt *statement) const { sqlite3_finalize(statement); }
};

} // namespace

void TSQLConnection::CloseHandle::operator()(sqlite3 *database) const
{
    sqlite3_close(database);
}

TSQLConnection::~TSQLConnection() = default;

void TSQLConnection::Open()
{
    Close();
    const QString file = Params.value(QStringLiteral("Database"));
    int flags = SQLITE_OPEN_READWRITE;
    if (Params.value(QStringLiteral("FailIfMissing")).compare(QLatin1String("False"), Qt::CaseInsensitive) == 0)
        flags |= SQLITE_OPEN_CREATE;
    sqlite3 *database = nullptr;
    const int code = openDatabase(file, &database, flags);
    std::unique_ptr<sqlite3, CloseHandle> opening(database);
    if (code != SQLITE_OK) {
        throw UserError(QStringLiteral("Не удалось открыть базу данных «%1»: %2").arg(file, reasonOf(code, database)));
    }
    m_handle = std::move(opening);
}

void TSQLConnection::Close()
{
    m_handle.reset();
}

void TSQLConnection::ExecuteDirect(const QString &statement)
{
    if (!m_handle)
        throw UserError(QStringLiteral("База данных не открыта"));
    check(sqlite3_exec(m_handle.get(), statement.toUtf8().constData(), nullptr, nullptr, nullptr));
}

void TSQLConnection::check(int code) const
{
    if (code == SQLITE_OK || code == SQLITE_DONE || code == SQLITE_ROW)
        return;
    throw UserError(QStringLiteral("Ошибка базы данных «%1»: %2")
                        .arg(Params.value(QStringLiteral("Database")), reasonOf(code, m_handle.get())));
}

void TSQLQuery::setSQL(const QString &statement)
{
    m_text = statement;
    m_parameters.clear();
    static const QRegularExpression name(QStringLiteral(":([A-Za-z_][A-Za-z_0-9]*)"));
    for (auto found = name.globalMatch(statement); found.hasNext();)
        m_parameters.insert(found.next().captured(1), {});
}

TSQLParam &TSQLQuery::ParamByName(const QString &name)
{
    const auto parameter = m_parameters.find(name);
    if (parameter == m_parameters.end())
        throw UserError(QStringLiteral("У запроса нет параметра «%1»").arg(name));
    return *parameter;
}

void TSQLQuery::ExecSQL(bool direct)
{
    if (direct) {
        m_connection.ExecuteDirect(m_text);
        return;
    }
    if (!m_connection.m_handle)
        throw UserError(QStringLiteral("База данных не открыта"));
    sqlite3_stmt *statement = nullptr;
    m_connection.check(sqlite3_prepare16_v2(m_connection.m_handle.get(), m_text.utf16(), -1, &statement, nullptr));
    const std::unique_ptr<sqlite3_stmt, FinalizeStatement> prepared(statement);
    for (int index = 1; index <= sqlite3_bind_parameter_count(statement); ++index) {
        const char *name = sqlite3_bind_parameter_name(statement, index);
        bind(statement, index, ParamByName(QString::fromUtf8(name ? name + 1 : "")));
    }
    m_connection.check(sqlite3_step(statement));
}

/// Binds without copying: the parameter stays as it is until the statement ends.
void TSQLQuery::bind(sqlite3_stmt *statement, int index, const TSQLParam &parameter) const
{
    int code = SQLITE_OK;
    if (const auto *number = std::get_if<double>(&parameter.m_value)) {
        code = sqlite3_bind_double(statement, index, *number);
    } else if (const auto *wide = std::get_if<QString>(&parameter.m_value)) {
        code = sqlite3_bind_text64(statement, index, reinterpret_cast<const char *>(wide->utf16()),
                                   static_cast<sqlite3_uint64>(wide->size()) * sizeof(char16_t), SQLITE_STATIC,
                                   SQLITE_UTF16);
    } else if (const auto *blob = std::get_if<std::string>(&parameter.m_value)) {
        code = sqlite3_bind_blob64(statement, index, blob->data(), blob->size(), SQLITE_STATIC);
    }
    m_connection.check(code);
}

bool databaseIsInUse(const QString &file)
{
    sqlite3 *database = nullptr;
    const int opening = openDatabase(file, &database, SQLITE_OPEN_READWRITE);
    const std::unique_ptr<sqlite3, decltype(&sqlite3_close_v2)> owner(database, sqlite3_close_v2);
    if (opening != SQLITE_OK)
        return false;
    // An exclusive lock is refused while another connection reads or writes, or has a write-ahead log open.
    const int code =
        sqlite3_exec(database, "PRAGMA locking_mode=EXCLUSIVE; BEGIN EXCLUSIVE; ROLLBACK", nullptr, nullptr, nullptr);
    return (code & 0xFF) == SQLITE_BUSY;
}
