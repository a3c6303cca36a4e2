#include "export_windows.h"
#include "failing_system.h"

#include "util/film_files.h"

#include <QLabel>
#include <QProcess>
#include <QStatusBar>

namespace {

const QStringList refused{"Database connection error!"};

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

class DatabaseExport : public ExportWindows {
public:
    /// Adds a scene of one second with its GIF.
    void addWithGif(const QString &position, const QByteArray &gif = "GIF", const QString &title = "title") const
    {
        addScene(position, "1", title);
        QVERIFY(QDir().mkpath(imagesFolderOf(VideoPath)));
        windows.write(QFileInfo(VideoPath).fileName() + ".images/" + position + "_1.gif", gif);
    }
    [[nodiscard]] static QString database() { return databaseFileOf(VideoPath); }
    [[nodiscard]] static QStringList rows(const QString &columns = "id,position")
    {
        return answer(database(), "select " + columns + " from scenes order by id");
    }
    [[nodiscard]] QString fact() const { return windows.list->StatusBar1->findChild<QLabel *>("Fact")->text(); }
    /// The files beside the film that begin like its database.
    [[nodiscard]] QStringList databaseFiles() const { return filesIn("").filter("film.avi.db"); }
};

} // namespace

class SqliteExportTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void writesEveryFieldOfAScene()
    {
        DatabaseExport all;
        all.windows.addRow({"12.34", "1", "Погоня", "Пешая", "Ночью", "«Побег»", "Kaizaf, Король", "деревня", "лето",
                            "динамичная", "56.1489315", "-47.203575"});
        QByteArray gif;
        for (int i = 0; i < 70'000; ++i)
            gif += static_cast<char>(i * i);
        // The same once more, without its texts: both have this GIF.
        all.addWithGif("12.34", gif);
        QCOMPARE(all.exportDatabase(), finished);
        QVERIFY(!all.window->isVisible());
        QCOMPARE(all.rows("*").value(0).section('|', 0, 12),
                 QString("1|12.34|1.0|Погоня|Пешая|Ночью|«Побег»|Kaizaf, Король|деревня|лето|динамичная|"
                         "56.1489315|-47.203575"));
        QCOMPARE(all.rows("hex(image)").value(0), QString::fromLatin1(gif.toHex().toUpper()));
        QCOMPARE(answer(all.database(), "select sql from sqlite_master where name='scenes'"),
                 QStringList{"CREATE TABLE scenes (id INTEGER NOT NULL PRIMARY KEY AUTOINCREMENT,position REAL,"
                             "length REAL,type TEXT,subtype TEXT,lasttype TEXT,title TEXT,persons TEXT,place TEXT,"
                             "time TEXT,comment TEXT,latitude REAL,longitude REAL,image BLOB)"});
        QCOMPARE(all.databaseFiles(), QStringList{"film.avi.db"});
    }

    void numbersAndTextsComeBackUnchanged()
    {
        const QString longText = QString("Ёж ").repeated(50'000);
        const QStringList titles{"'; drop table scenes; --", ":Title", "\"", "𝄞 中", longText, " blank ", ""};
        const QStringList positions{"12,5", "  7.25 с", "начало", "-1e3", "1e999", "nan", "0.1"};
        DatabaseExport all;
        for (int i = 0; i < titles.size(); ++i)
            all.addWithGif(positions[i], {}, titles[i]);
        QCOMPARE(all.exportDatabase(), finished);
        QCOMPARE(all.rows("'['||title||']'").join(""), '[' + titles.join("][") + ']');
        QCOMPARE(all.rows("position"), QStringList({"12.0", "7.25", "0.0", "-1000.0", "Inf", "0.0", "0.1"}));
        const QString types = "typeof(position)||typeof(title)||typeof(image)||length(image)";
        QCOMPARE(all.rows(types).value(0), QString("realtextblob0"));
    }

    void everyExportStartsAnewAndLeavesOutWhatHasNoImage()
    {
        DatabaseExport all;
        // Just a name.
        const QString film = "100%41?mode=ro#.avi";
        VideoPath = all.windows.path(film);
        all.windows.write(film + ".db", "no database at all");
        all.windows.write("secret_1.gif", "secret");
        all.addWithGif("2");
        QVERIFY(QDir().mkpath(gifFileOf(VideoPath, "3", "1")));
        for (const QString &position : {QString("1"), QString("3"), QString("../secret"), QString(QChar(0xD800))})
            all.addScene(position, "1");
        all.addWithGif("4");
        for (int i = 0; i < 3; ++i)
            QCOMPARE(all.exportDatabase(), finished);
        QCOMPARE(all.rows(), QStringList({"1|2.0", "2|4.0"}));
        QCOMPARE(all.fact(), QString("Экспорт в SQLite: записано сцен: 2, пропущено: 4 (нет GIF: 4)"));
    }

    void aDatabaseInUseIsLeftAlone()
    {
        for (const QByteArray work : {"begin immediate;\ninsert into mine values(7);", "begin exclusive;\n",
                                      "pragma journal_mode=wal;\ninsert into mine values(7);"}) {
            DatabaseExport all;
            all.addWithGif("1");
            {
                const Worker worker(all.database(), "create table mine(x);\n" + work);
                QCOMPARE(all.exportDatabase(), refused);
                QVERIFY(all.window->isVisible());
            }
            QCOMPARE(answer(all.database(), "select name from sqlite_master"), QStringList{"mine"});
            QCOMPARE(all.exportDatabase(), finished);
            QCOMPARE(all.rows(), QStringList{"1|1.0"});
            QCOMPARE(all.databaseFiles(), QStringList{"film.avi.db"});
        }
    }

    void whatCannotBeReplacedIsTold()
    {
        for (const QString obstacle : {"folder", "read-only", "read-only, old database"}) {
            DatabaseExport all;
            all.addWithGif("1");
            if (obstacle == "folder")
                QVERIFY(QDir().mkpath(all.database()));
            if (obstacle.endsWith("old database"))
                all.windows.write("film.avi.db", "old");
            {
                std::unique_ptr<AsOrdinaryUser> user;
                if (obstacle.startsWith("read-only")) {
                    QFile::setPermissions(all.database(), QFile::Permissions(0x6666));
                    QFile::setPermissions(all.windows.folder.path(), QFile::Permissions(0x5555));
                    user = std::make_unique<AsOrdinaryUser>();
                }
                QCOMPARE(all.exportDatabase(), refused);
                QVERIFY(all.window->isVisible());
            }
            QCOMPARE(QFileInfo(all.database()).isDir(), obstacle == "folder");
            if (obstacle.endsWith("old database"))
                QCOMPARE(all.windows.content("film.avi.db"), QByteArray("old"));
        }
    }

    void leftoversOfAKilledProgramAreNotTakenOver()
    {
        DatabaseExport all;
        // A journal that would be rolled back into the new database.
        Worker(all.database(), "create table mine(x);\ninsert into mine values(1);\npragma cache_size=1;\nbegin;\n"
                               "with recursive n(i) as (select 1 union all select i+1 from n limit 5000) "
                               "insert into mine select hex(randomblob(500)) from n;\n")
            .kill();
        QCOMPARE(all.databaseFiles(), QStringList({"film.avi.db", "film.avi.db-journal"}));
        for (const char *rest : {"-wal", "-shm"})
            all.windows.write(QString("film.avi.db") + rest, "rubbish");
        all.addWithGif("1");
        QVERIFY(QFile::remove(all.database()));
        QCOMPARE(all.exportDatabase(), finished);
        QCOMPARE(all.rows(), QStringList{"1|1.0"});
        QCOMPARE(all.databaseFiles(), QStringList{"film.avi.db"});
    }

    void aFullDiskLosesOnlyTheRest()
    {
        DatabaseExport all;
        for (int i = 0; i < 20; ++i)
            all.addWithGif(QString::number(i), QByteArray(40'000, static_cast<char>('a' + i)));
        {
            const FullDisk disk(1000); // no room for the table
            const QString message = all.exportDatabase().join('\n');
            QVERIFY2(message.startsWith("Ошибка базы данных «" + all.database()), qPrintable(message));
            QVERIFY(all.window->isVisible() && !all.window->SQLConnection1.Connected());
        }
        {
            all.addScene("without GIF", "1");
            const FullDisk disk(500'000);
            QCOMPARE(all.exportDatabase(), finished);
        }
        const QStringList kept = all.rows("id||' '||length(image)||substr(image,1,1)");
        QVERIFY2(kept.size() > 5 && kept.size() < 15, qPrintable(kept.join('\n')));
        QCOMPARE(all.fact(), QString("Экспорт в SQLite: записано сцен: %1, пропущено: %2 (нет GIF: 1, ошибка: %3)")
                                 .arg(kept.size())
                                 .arg(21 - kept.size())
                                 .arg(20 - kept.size()));
        for (int i = 0; i < kept.size(); ++i)
            QCOMPARE(kept[i], QString("%1 40000%2").arg(i + 1).arg(QChar('a' + i)));
        QCOMPARE(answer(all.database(), "pragma integrity_check"), QStringList{"ok"});
        QCOMPARE(all.databaseFiles(), QStringList{"film.avi.db"});
    }
};

int main(int argc, char **argv)
{
    return runInApplication<SqliteExportTest>(argc, argv);
}
#include "sqlite_export_test.moc"
