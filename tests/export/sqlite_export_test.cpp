#include "export_windows.h"
#include "failing_system.h"

#include "export/image_files.h"
#include "util/user_error.h"
#include "widgets/message_box.h"

#include <QDir>
#include <QProcess>
#include <QPushButton>
#include <QTest>
#include <QTimer>

namespace {

const QString finished = "Экспорт завершён";
const QString refused = "Database connection error!";

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
        sqlite.write(statements + "select 'ready';\n");
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
    void numbersAreReadFromTheirBeginning();
    void textsComeBackUnchanged();
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
    void theWindowShowsItselfBeforeAndAfter();
    void theImagesButtonOpensTheOtherDialog();
    void theConnectionRefusesWhatItsParametersRefuse();

private:
    void exportScenes();
    void addScene(const QString &position, const QString &length, const QByteArray &gif = "GIF");
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
    QVERIFY(QDir().mkpath(m_windows->images()));
}

void SqliteExportTest::addScene(const QString &position, const QString &length, const QByteArray &gif)
{
    m_windows->addScene(position, length);
    writeFile(m_windows->gif(position + '_' + length), gif);
}

void SqliteExportTest::exportScenes()
{
    m_windows->window->show();
    // Not by a click: an error that passes through the framework's buttons leaves some of their memory behind.
    QTimer::singleShot(0, m_windows->window.get(), &TForm5::BitBtn2Click);
    QTRY_VERIFY(!m_windows->windows.messages.isEmpty());
}

void SqliteExportTest::writesEveryFieldOfAScene()
{
    Scene scene;
    scene.position = "12.34";
    scene.length = "5.5";
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
    writeFile(m_windows->gif("12.34_5.5"), gif);
    exportScenes();

    QCOMPARE(m_windows->takeMessages(), QStringList{finished});
    QVERIFY(!m_windows->window->isVisible());
    QCOMPARE(rows("*").value(0).section('|', 0, 12),
             QString("1|12.34|5.5|Погоня|Пешая|Ночью|Сцена «побега»|Kaizaf, Король|деревня|лето|динамичная|56.1489315|"
                     "-47.203575"));
    QCOMPARE(rows("typeof(position)||typeof(type)||typeof(image)"), QStringList{"realtextblob"});
    QCOMPARE(rows("hex(image)").value(0), QString::fromLatin1(gif.toHex().toUpper()));
    QCOMPARE(answer(database(), "select sql from sqlite_master where name='scenes'"),
             QStringList{"CREATE TABLE scenes (id INTEGER NOT NULL PRIMARY KEY AUTOINCREMENT,position REAL,length REAL,"
                         "type TEXT,subtype TEXT,lasttype TEXT,title TEXT,persons TEXT,place TEXT,time TEXT,comment "
                         "TEXT,latitude REAL,longitude REAL,image BLOB)"});
    QCOMPARE(answer(database(), "pragma integrity_check"), QStringList{"ok"});
    QCOMPARE(databaseFiles(), QStringList{"film.avi.db"});
}

void SqliteExportTest::numbersAreReadFromTheirBeginning()
{
    const QStringList texts{"12,5", "  7.25 с", "начало", "-1e3", "1e999", "nan", "0.1"};
    for (const QString &text : texts)
        addScene(text, "1");
    exportScenes();
    QCOMPARE(rows("position"), QStringList({"12.0", "7.25", "0.0", "-1000.0", "Inf", "0.0", "0.1"}));
}

void SqliteExportTest::textsComeBackUnchanged()
{
    const QString longText = QString("Ёж ").repeated(50'000);
    const QStringList titles{"'; drop table scenes; --", ":Title", "\"", "𝄞 中", longText, " blank ", ""};
    for (int i = 0; i < titles.size(); ++i) {
        m_windows->addScene(QString::number(i), "1", titles[i]);
        writeFile(m_windows->gif(QString("%1_1").arg(i)), {});
    }
    exportScenes();
    QCOMPARE(rows("'['||title||']'"), QStringList(titles).replaceInStrings(QRegularExpression("^(.*)$"), "[\\1]"));
    QCOMPARE(rows("typeof(image)||length(image)").value(0), QString("blob0"));
}

void SqliteExportTest::scenesWithoutAnImageAreLeftOut()
{
    m_windows->addScene("1", "1");
    exportScenes();
    QCOMPARE(m_windows->takeMessages(), QStringList{finished});
    QCOMPARE(answer(database(), "select count(*) from scenes"), QStringList{"0"});

    addScene("2", "1");
    QVERIFY(QDir().mkpath(m_windows->gif("3_1")));
    m_windows->addScene("3", "1");
    writeFile(m_windows->windows.path("secret_1.gif"), "secret");
    m_windows->addScene("../secret", "1");
    addScene("4", "1");
    exportScenes();
    QCOMPARE(m_windows->takeMessages(), QStringList{finished});
    QCOMPARE(rows(), QStringList({"1|2.0", "2|4.0"}));
}

void SqliteExportTest::everyExportStartsAnew()
{
    writeFile(database(), "no database at all");
    addScene("1", "1");
    addScene("2", "1");
    for (int i = 0; i < 3; ++i) {
        exportScenes();
        QCOMPARE(m_windows->takeMessages(), QStringList{finished});
    }
    QCOMPARE(rows(), QStringList({"1|1.0", "2|2.0"}));
}

void SqliteExportTest::aDatabaseInUseIsLeftAlone_data()
{
    QTest::addColumn<QByteArray>("work");
    QTest::newRow("being written") << QByteArray("create table mine(x);\nbegin immediate;\ninsert into mine values(7);\n");
    QTest::newRow("locked") << QByteArray("create table mine(x);\nbegin exclusive;\n");
    QTest::newRow("with a write-ahead log") << QByteArray("pragma journal_mode=wal;\ncreate table mine(x);\n");
}

void SqliteExportTest::aDatabaseInUseIsLeftAlone()
{
    QFETCH(const QByteArray, work);
    addScene("1", "1");
    {
        const Worker worker(database(), work);
        exportScenes();
        QCOMPARE(m_windows->takeMessages(), QStringList{refused});
        QVERIFY(m_windows->window->isVisible());
    }
    QCOMPARE(answer(database(), "select name from sqlite_master"), QStringList{"mine"});
    exportScenes();
    QCOMPARE(m_windows->takeMessages(), QStringList{finished});
    QCOMPARE(rows(), QStringList{"1|1.0"});
    QCOMPARE(databaseFiles(), QStringList{"film.avi.db"});
}

void SqliteExportTest::whatCannotBeReplacedIsTold_data()
{
    QTest::addColumn<QString>("obstacle");
    QTest::newRow("an empty folder in its place") << "folder";
    QTest::newRow("a full folder in its place") << "full folder";
    QTest::newRow("a folder that refuses") << "read-only";
    QTest::newRow("a folder that refuses, with an old database") << "read-only old";
    QTest::newRow("no such folder") << "gone";
}

void SqliteExportTest::whatCannotBeReplacedIsTold()
{
    QFETCH(const QString, obstacle);
    addScene("1", "1");
    std::unique_ptr<AsOrdinaryUser> user;
    if (obstacle.endsWith("folder"))
        QVERIFY(QDir().mkpath(obstacle == "folder" ? database() : database() + "/x"));
    if (obstacle.endsWith("old"))
        writeFile(database(), "old");
    if (obstacle.startsWith("read-only")) {
        QFile::setPermissions(database(), QFile::Permissions(0x6666));
        QFile::setPermissions(m_windows->windows.folder.path(), QFile::Permissions(0x5555));
        user = std::make_unique<AsOrdinaryUser>();
    }
    if (obstacle == "gone")
        VideoPath = m_windows->windows.path("gone/film.avi");
    for (int i = 0; i < 2; ++i) {
        exportScenes();
        QCOMPARE(m_windows->takeMessages(), QStringList{refused});
        QVERIFY(m_windows->window->isVisible());
    }
    user.reset();
    if (obstacle.endsWith("folder"))
        QVERIFY(QFileInfo(database()).isDir());
    if (obstacle.endsWith("old"))
        QCOMPARE(m_windows->windows.content("film.avi.db"), QByteArray("old"));
}

void SqliteExportTest::leftoversOfAKilledProgramAreNotTakenOver()
{
    // A journal that would be rolled back into the new database.
    QProcess sqlite;
    sqlite.start("sqlite3", {"-batch", database()});
    sqlite.write("create table mine(x);\ninsert into mine values(1);\npragma cache_size=1;\nbegin;\n"
                 "with recursive n(i) as (select 1 union all select i+1 from n limit 5000) insert into mine select "
                 "hex(randomblob(500)) from n;\nselect 'ready';\n");
    QVERIFY(sqlite.waitForReadyRead());
    sqlite.kill();
    QVERIFY(sqlite.waitForFinished());
    QCOMPARE(databaseFiles(), QStringList({"film.avi.db", "film.avi.db-journal"}));
    writeFile(database() + "-wal", "rubbish");
    addScene("1", "1");
    QVERIFY(QFile::remove(database()));
    exportScenes();
    QCOMPARE(m_windows->takeMessages(), QStringList{finished});
    QCOMPARE(rows(), QStringList{"1|1.0"});
    QCOMPARE(databaseFiles(), QStringList{"film.avi.db"});
}

void SqliteExportTest::oddPathsAreJustNames()
{
    for (const char *name : {"фильм 'a' \"b\".avi", "file:x?mode=ro#y.avi", "100%41.avi"}) {
        VideoPath = m_windows->windows.path(name);
        QVERIFY(QDir().mkpath(imagesFolderOf(VideoPath)));
        m_windows->addScene("1", "1");
        writeFile(gifFileOf(VideoPath, "1", "1"), "GIF");
        exportScenes();
        QCOMPARE(m_windows->takeMessages(), QStringList{finished});
        QVERIFY(QFile::exists(m_windows->windows.path(name) + ".db"));
        // Through a plain name: sqlite3 takes some of these for something else.
        QVERIFY(QFile::copy(database(), m_windows->windows.path("copy")));
        QVERIFY(!answer(m_windows->windows.path("copy"), "select id from scenes").isEmpty());
        QVERIFY(QFile::remove(m_windows->windows.path("copy")));
    }
}

void SqliteExportTest::aFullDiskLosesOnlyTheRest()
{
    for (int i = 0; i < 20; ++i)
        addScene(QString::number(i), "1", QByteArray(40'000, static_cast<char>('a' + i)));
    {
        const FullDisk disk(500'000);
        exportScenes();
    }
    QCOMPARE(m_windows->takeMessages(), QStringList{finished});
    const QStringList kept = rows("id||' '||length(image)||substr(image,1,1)");
    QVERIFY2(kept.size() > 5 && kept.size() < 15, qPrintable(kept.join('\n')));
    for (int i = 0; i < kept.size(); ++i)
        QCOMPARE(kept[i], QString("%1 40000%2").arg(i + 1).arg(QChar('a' + i)));
    QCOMPARE(answer(database(), "pragma integrity_check"), QStringList{"ok"});
    QCOMPARE(databaseFiles(), QStringList{"film.avi.db"});
}

void SqliteExportTest::aTableThatCannotBeCreatedIsTold()
{
    addScene("1", "1");
    {
        const FullDisk disk(1000);
        exportScenes();
        const QStringList messages = m_windows->takeMessages();
        QCOMPARE(messages.size(), qsizetype{1});
        QVERIFY2(messages[0].contains(database()) && messages[0].startsWith("Ошибка базы данных"),
                 qPrintable(messages[0]));
        QVERIFY(m_windows->window->isVisible());
        QVERIFY(!m_windows->window->SQLConnection1.Connected());
    }
    exportScenes();
    QCOMPARE(m_windows->takeMessages(), QStringList{finished});
    QCOMPARE(rows(), QStringList{"1|1.0"});
}

void SqliteExportTest::theWindowShowsItselfBeforeAndAfter()
{
    struct PaintCounter : QObject {
        int paints = 0;
        bool eventFilter(QObject *, QEvent *event) override
        {
            paints += event->type() == QEvent::Paint;
            return false;
        }
    };
    PaintCounter counter;
    addScene("1", "1");
    m_windows->window->show();
    QVERIFY(QTest::qWaitForWindowExposed(m_windows->window.get()));
    QTest::mousePress(m_windows->window->BitBtn2, Qt::LeftButton);
    QCoreApplication::processEvents();
    QVERIFY(m_windows->window->BitBtn2->isDown());
    m_windows->window->BitBtn2->installEventFilter(&counter);
    int paintsBefore = -1;
    setMessageBoxAnswer([&](const QString &) { paintsBefore = counter.paints; });
    QTest::mouseRelease(m_windows->window->BitBtn2, Qt::LeftButton);
    QVERIFY(paintsBefore > 0);
    QVERIFY(!m_windows->window->isVisible());
}

void SqliteExportTest::theImagesButtonOpensTheOtherDialog()
{
    bool modal = false;
    QTimer::singleShot(50, m_windows->dialog.get(), [&] {
        modal = m_windows->dialog->isVisible() && m_windows->dialog->isModal();
        m_windows->dialog->close();
    });
    m_windows->window->show();
    QTest::mouseClick(m_windows->window->BitBtn1, Qt::LeftButton);
    QVERIFY(modal);
    QVERIFY(m_windows->window->isVisible());
    QTest::mouseClick(m_windows->window->BitBtn3, Qt::LeftButton);
    QVERIFY(!m_windows->window->isVisible());
}

void SqliteExportTest::theConnectionRefusesWhatItsParametersRefuse()
{
    TSQLConnection connection;
    QCOMPARE(connection.Params.value("FailIfMissing"), QString("True"));
    connection.Params["Database"] = m_windows->windows.path("missing.db");
    QVERIFY_EXCEPTION_THROWN(connection.Open(), UserError);
    QVERIFY(!QFile::exists(m_windows->windows.path("missing.db")));
    connection.Params["FailIfMissing"] = "False";
    connection.Open();
    TSQLQuery query(connection);
    query.setSQL("insert into t values(:A, :B)");
    QVERIFY_EXCEPTION_THROWN((void)query.ParamByName("C"), UserError);
    QVERIFY_EXCEPTION_THROWN(query.ExecSQL(), UserError);
    connection.ExecuteDirect("create table t(a, b)");
    query.ParamByName("B").setFloat(2.5);
    query.ExecSQL();
    connection.Close();
    QVERIFY_EXCEPTION_THROWN(query.ExecSQL(), UserError);
    QCOMPARE(answer(m_windows->windows.path("missing.db"), "select a is null, b from t"), QStringList{"1|2.5"});
}

int main(int argc, char **argv)
{
    FallibleApplication application(argc, argv);
    SqliteExportTest test;
    return QTest::qExec(&test, argc, argv);
}
#include "sqlite_export_test.moc"
