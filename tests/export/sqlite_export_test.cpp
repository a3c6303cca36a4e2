#include "export_windows.h"
#include "failing_system.h"

#include "export/image_files.h"
#include "util/user_error.h"

#include <QDir>
#include <QProcess>
#include <QTest>

namespace {

const QStringList refused{"Database connection error!"};

void writeFile(const QString &name, const QByteArray &bytes)
{
    QFile file(name);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(bytes);
}

/// What the sqlite3 program answers to a query on the database, line by line.
QStringList answer(const QString &database, const QString &query)
{
    QProcess sqlite;
    sqlite.start("sqlite3", {"-batch", "-readonly", database, query});
    if (!sqlite.waitForFinished() || sqlite.exitCode() != 0)
        return {"error: " + QString::fromUtf8(sqlite.readAllStandardError())};
    return QString::fromUtf8(sqlite.readAllStandardOutput()).split('\n', Qt::SkipEmptyParts);
}

/// Another program that is working on a database.
class Worker {
public:
    Worker(const QString &database, const QByteArray &statements)
    {
        sqlite.start("sqlite3", {"-batch", database});
        sqlite.write(statements + "\nselect 'ready';\n");
        for (QByteArray output; !output.contains("ready"); output += sqlite.readAll()) {
            if (!sqlite.waitForReadyRead())
                qFatal("sqlite3: %s", sqlite.readAllStandardError().constData());
        }
    }
    ~Worker()
    {
        sqlite.closeWriteChannel();
        sqlite.waitForFinished();
    }
    void kill() { sqlite.kill(); }

private:
    QProcess sqlite;
};

} // namespace

class SqliteExportTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup() { m_windows.reset(); }
    void writesEveryFieldOfAScene();
    void numbersAndTextsComeBackUnchanged();
    void scenesWithoutAnImageAreLeftOut();
    void everyExportStartsAnew();
    void aDatabaseInUseIsLeftAlone_data();
    void aDatabaseInUseIsLeftAlone();
    void whatCannotBeReplacedIsTold_data();
    void whatCannotBeReplacedIsTold();
    void leftoversOfAKilledProgramAreNotTakenOver();
    void oddPathsAreJustNames();
    void aFullDiskLosesOnlyTheRest();
    void aTableThatCannotBeCreatedIsTold();
    void aConnectionRefusesAMissingDatabase();

private:
    void addScene(const QString &position, const QByteArray &gif = "GIF", const QString &title = "title");
    [[nodiscard]] QStringList exportScenes() { return m_windows->exportDatabase(); }
    [[nodiscard]] QString database() const { return databaseFileOf(VideoPath); }
    [[nodiscard]] QStringList rows(const QString &columns = "id,position") const
    {
        return answer(database(), "select " + columns + " from scenes order by id");
    }
    /// The files beside the video that begin like its database.
    [[nodiscard]] QStringList databaseFiles() const
    {
        return QDir(m_windows->windows.folder.path()).entryList({"film.avi.db*"}, QDir::AllEntries);
    }

    std::unique_ptr<ExportWindows> m_windows;
};

void SqliteExportTest::init()
{
    m_windows = std::make_unique<ExportWindows>();
}

/// A scene of one second with its GIF.
void SqliteExportTest::addScene(const QString &position, const QByteArray &gif, const QString &title)
{
    m_windows->addScene(position, "1", title);
    QVERIFY(QDir().mkpath(imagesFolderOf(VideoPath)));
    writeFile(gifFileOf(VideoPath, position, "1"), gif);
}

void SqliteExportTest::writesEveryFieldOfAScene()
{
    Scene scene;
    scene.position = "12.34";
    scene.length = "1";
    scene.type = "Погоня";
    scene.subtype = "Пешая";
    scene.lasttype = "Ночью";
    scene.title = "Сцена «побега»";
    scene.persons = "Kaizaf, Король";
    scene.place = "деревня";
    scene.time = "лето";
    scene.comment = "динамичная";
    scene.latitude = "56.1489315";
    scene.longitude = "-47.203575";
    m_windows->windows.addRow(scene);
    QByteArray gif;
    for (int i = 0; i < 70'000; ++i)
        gif += static_cast<char>(i * i);
    // The same once more, without its texts: both have this GIF.
    addScene("12.34", gif);
    QCOMPARE(exportScenes(), finished);
    QVERIFY(!m_windows->window->isVisible());
    QCOMPARE(rows("*").value(0).section('|', 0, 12),
             QString("1|12.34|1.0|Погоня|Пешая|Ночью|Сцена «побега»|Kaizaf, Король|деревня|лето|динамичная|56.1489315|"
                     "-47.203575"));
    QCOMPARE(rows("hex(image)").value(0), QString::fromLatin1(gif.toHex().toUpper()));
    QCOMPARE(answer(database(), "select sql from sqlite_master where name='scenes'"),
             QStringList{"CREATE TABLE scenes (id INTEGER NOT NULL PRIMARY KEY AUTOINCREMENT,position REAL,length REAL,"
                         "type TEXT,subtype TEXT,lasttype TEXT,title TEXT,persons TEXT,place TEXT,time TEXT,comment "
                         "TEXT,latitude REAL,longitude REAL,image BLOB)"});
    QCOMPARE(answer(database(), "pragma integrity_check"), QStringList{"ok"});
    QCOMPARE(databaseFiles(), QStringList{"film.avi.db"});
}

void SqliteExportTest::numbersAndTextsComeBackUnchanged()
{
    const QString longText = QString("Ёж ").repeated(50'000);
    const QStringList titles{"'; drop table scenes; --", ":Title", "\"", "𝄞 中", longText, " blank ", ""};
    const QStringList positions{"12,5", "  7.25 с", "начало", "-1e3", "1e999", "nan", "0.1"};
    for (int i = 0; i < titles.size(); ++i)
        addScene(positions[i], {}, titles[i]);
    QCOMPARE(exportScenes(), finished);
    QCOMPARE(rows("'['||title||']'"), QStringList(titles).replaceInStrings(QRegularExpression("^(.*)$"), "[\\1]"));
    QCOMPARE(rows("position"), QStringList({"12.0", "7.25", "0.0", "-1000.0", "Inf", "0.0", "0.1"}));
    QCOMPARE(rows("typeof(position)||typeof(title)||typeof(image)||length(image)")[0], QString("realtextblob0"));
}

void SqliteExportTest::scenesWithoutAnImageAreLeftOut()
{
    addScene("2");
    m_windows->addScene("1", "1");
    QVERIFY(QDir().mkpath(m_windows->gif("3_1")));
    m_windows->addScene("3", "1");
    writeFile(m_windows->windows.path("secret_1.gif"), "secret");
    m_windows->addScene("../secret", "1");
    m_windows->addScene(QString(QChar(0xD800)), "1");
    addScene("4");
    QCOMPARE(exportScenes(), finished);
    QCOMPARE(rows(), QStringList({"1|2.0", "2|4.0"}));
}

void SqliteExportTest::everyExportStartsAnew()
{
    writeFile(database(), "no database at all");
    addScene("1");
    addScene("2");
    for (int i = 0; i < 3; ++i)
        QCOMPARE(exportScenes(), finished);
    QCOMPARE(rows(), QStringList({"1|1.0", "2|2.0"}));
}

void SqliteExportTest::aDatabaseInUseIsLeftAlone_data()
{
    QTest::addColumn<QByteArray>("work");
    QTest::newRow("being written") << QByteArray("create table mine(x);\nbegin immediate;\ninsert into mine values(7);");
    QTest::newRow("locked") << QByteArray("create table mine(x);\nbegin exclusive;\n");
    QTest::newRow("with a write-ahead log") << QByteArray("pragma journal_mode=wal;\ncreate table mine(x);\n");
}

void SqliteExportTest::aDatabaseInUseIsLeftAlone()
{
    QFETCH(const QByteArray, work);
    addScene("1");
    {
        const Worker worker(database(), work);
        QCOMPARE(exportScenes(), refused);
        QVERIFY(m_windows->window->isVisible());
    }
    QCOMPARE(answer(database(), "select name from sqlite_master"), QStringList{"mine"});
    QCOMPARE(exportScenes(), finished);
    QCOMPARE(rows(), QStringList{"1|1.0"});
    QCOMPARE(databaseFiles(), QStringList{"film.avi.db"});
}

void SqliteExportTest::whatCannotBeReplacedIsTold_data()
{
    QTest::addColumn<QString>("obstacle");
    for (const char *obstacle : {"empty folder", "full folder", "read-only", "read-only, old database", "gone"})
        QTest::newRow(obstacle) << obstacle;
}

void SqliteExportTest::whatCannotBeReplacedIsTold()
{
    QFETCH(const QString, obstacle);
    addScene("1");
    if (obstacle.endsWith("folder"))
        QVERIFY(QDir().mkpath(obstacle.startsWith("empty") ? database() : database() + "/x"));
    if (obstacle.endsWith("old database"))
        writeFile(database(), "old");
    if (obstacle == "gone")
        VideoPath = m_windows->windows.path("gone/film.avi");
    {
        std::unique_ptr<AsOrdinaryUser> user;
        if (obstacle.startsWith("read-only")) {
            QFile::setPermissions(database(), QFile::Permissions(0x6666));
            QFile::setPermissions(m_windows->windows.folder.path(), QFile::Permissions(0x5555));
            user = std::make_unique<AsOrdinaryUser>();
        }
        QCOMPARE(exportScenes(), refused);
        QVERIFY(m_windows->window->isVisible());
        QCOMPARE(exportScenes(), refused);
    }
    QCOMPARE(QFileInfo(database()).isDir(), obstacle.endsWith("folder"));
    if (obstacle.endsWith("old database"))
        QCOMPARE(m_windows->windows.content("film.avi.db"), QByteArray("old"));
}

void SqliteExportTest::leftoversOfAKilledProgramAreNotTakenOver()
{
    // A journal that would be rolled back into the new database.
    Worker(database(), "create table mine(x);\ninsert into mine values(1);\npragma cache_size=1;\nbegin;\n"
                       "with recursive n(i) as (select 1 union all select i+1 from n limit 5000) insert into mine "
                       "select hex(randomblob(500)) from n;\n").kill();
    QCOMPARE(databaseFiles(), QStringList({"film.avi.db", "film.avi.db-journal"}));
    for (const char *rest : {"-wal", "-shm"})
        writeFile(database() + rest, "rubbish");
    addScene("1");
    QVERIFY(QFile::remove(database()));
    QCOMPARE(exportScenes(), finished);
    QCOMPARE(rows(), QStringList{"1|1.0"});
    QCOMPARE(databaseFiles(), QStringList{"film.avi.db"});
}

void SqliteExportTest::oddPathsAreJustNames()
{
    for (const char *name : {"фильм 'a' \"b\".avi", "file:x?mode=ro#y.avi", "100%41.avi"}) {
        VideoPath = m_windows->windows.path(name);
        addScene("1");
        QCOMPARE(exportScenes(), finished);
        // Through a plain name: sqlite3 takes some of these for something else.
        const QString copy = m_windows->windows.path("copy");
        QVERIFY(QFile::copy(m_windows->windows.path(name) + ".db", copy));
        QVERIFY(answer(copy, "select id from scenes").contains("1"));
        QVERIFY(QFile::remove(copy));
    }
}

void SqliteExportTest::aFullDiskLosesOnlyTheRest()
{
    for (int i = 0; i < 20; ++i)
        addScene(QString::number(i), QByteArray(40'000, static_cast<char>('a' + i)));
    {
        const FullDisk disk(500'000);
        QCOMPARE(exportScenes(), finished);
    }
    const QStringList kept = rows("id||' '||length(image)||substr(image,1,1)");
    QVERIFY2(kept.size() > 5 && kept.size() < 15, qPrintable(kept.join('\n')));
    for (int i = 0; i < kept.size(); ++i)
        QCOMPARE(kept[i], QString("%1 40000%2").arg(i + 1).arg(QChar('a' + i)));
    QCOMPARE(answer(database(), "pragma integrity_check"), QStringList{"ok"});
    QCOMPARE(databaseFiles(), QStringList{"film.avi.db"});
}

void SqliteExportTest::aTableThatCannotBeCreatedIsTold()
{
    addScene("1");
    {
        const FullDisk disk(1000);
        const QStringList messages = exportScenes();
        QVERIFY2(messages.join('\n').startsWith("Ошибка базы данных «" + database()), qPrintable(messages.join('\n')));
        QVERIFY(m_windows->window->isVisible());
        QVERIFY(!m_windows->window->SQLConnection1.Connected());
    }
    QCOMPARE(exportScenes(), finished);
    QCOMPARE(rows(), QStringList{"1|1.0"});
}

void SqliteExportTest::aConnectionRefusesAMissingDatabase()
{
    TSQLConnection connection;
    connection.Params["Database"] = m_windows->windows.path("missing.db");
    QVERIFY_EXCEPTION_THROWN(connection.Open(), UserError);
    QVERIFY(!QFile::exists(m_windows->windows.path("missing.db")));
    TSQLQuery query(connection);
    query.setSQL("insert into t values(:A)");
    QVERIFY_EXCEPTION_THROWN(query.ExecSQL(), UserError);
    QVERIFY_EXCEPTION_THROWN((void)query.ParamByName("B"), UserError);
}

int main(int argc, char **argv)
{
    FallibleApplication application(argc, argv);
    SqliteExportTest test;
    return QTest::qExec(&test, argc, argv);
}
#include "sqlite_export_test.moc"
