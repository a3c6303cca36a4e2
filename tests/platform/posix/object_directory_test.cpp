#include "platform/object_folder.h"
#include "platform/posix/object_directory.h"
#include "platform/shared_objects.h"

#include "failing_system.h"

#include <QDir>
#include <QTemporaryDir>
#include <QTest>

#include <sys/stat.h>
#include <unistd.h>

#include <limits>

class ObjectDirectoryTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void aRefusedFolderIsToldAndTriedAgain()
    {
        const QString user = QString::number(geteuid());
        if (QFile::exists("/run/user/" + user))
            QSKIP("the user's runtime folder is there for every program");
        static const QTemporaryDir temporary; // outlives the directory that is made in it
        const QByteArray place = (temporary.path() + "/tavrin-" + user).toUtf8();
        const QByteArray earlierRuntime = qgetenv("XDG_RUNTIME_DIR");
        const QByteArray earlierTemporary = qgetenv("TMPDIR");
        qunsetenv("XDG_RUNTIME_DIR");
        qputenv("TMPDIR", temporary.path().toUtf8());

        using Why = RefusedFolder::Why;
        const auto expectRefused = [&](Why why) {
            const auto refused = refusedObjectFolder();
            QVERIFY(refused && refused->path == place.toStdString() && refused->why == why);
            QVERIFY(why != Why::SystemRefuses || refused->error == std::errc::not_a_directory);
            QVERIFY(!LivenessMutex::create("life"));
        };
        QVERIFY(mkdir(place, 0755) == 0);
        expectRefused(Why::OpenToOthers);
        if (geteuid() == 0 && chown(place, 1, 1) == 0)
            expectRefused(Why::OfAnotherUser);
        QVERIFY(rmdir(place) == 0 && QFile(place).open(QIODevice::WriteOnly));
        expectRefused(Why::SystemRefuses);
        QVERIFY(unlink(place) == 0 && !refusedObjectFolder() && LivenessMutex::create("life"));
        qputenv("XDG_RUNTIME_DIR", earlierRuntime);
        qputenv("TMPDIR", earlierTemporary);
    }

    void endedObjectsLeaveNothing()
    {
        {
            const auto mutex = LivenessMutex::create("life");
            const auto replaced = SharedMemory::create("block", 10);
            const auto memory = SharedMemory::create("block", 20);
            const auto view = SharedMemory::open("block", 10);
            QCOMPARE(names().size(), 2);
        }
        QCOMPARE(names(), QStringList());
        const auto mutex = LivenessMutex::create("life");
        const auto memory = SharedMemory::create("block", 10);
        removeSharedNames();
        QCOMPARE(names(), QStringList());
    }

    void refusedBlocksLeaveNothing()
    {
        // None, more than there is, more than a file can be.
        for (const std::size_t size : {std::size_t(0), std::size_t(1) << 50, std::numeric_limits<std::size_t>::max()})
            QVERIFY(!SharedMemory::create("block", size));
        const FullDisk disk(1'000'000);
        QVERIFY(!SharedMemory::create("block", 2'000'000));
        QCOMPARE(names(), QStringList());
        QVERIFY(SharedMemory::create("block", 1'000'000));
    }

    void anyNameStaysInTheDirectory()
    {
        for (const char *name : {"FRAME_READER_TAVRIN", "../out", "/etc/out", ".", "..", "a/b", "a%2Fb", "a.mutex",
                                 "с пробелом", "новая\nстрока", "-option"}) {
            const auto mutex = LivenessMutex::create(name);
            const auto memory = SharedMemory::create(name, 10);
            QVERIFY2(mutex && memory && LivenessMutex::exists(name) && SharedMemory::open(name, 10), name);
            QCOMPARE(names().size(), 2);
            // Names that differ are different objects.
            for (const char *other : {"out", "b", "a", "a%2fb", "FRAME_READER_"})
                QVERIFY2(!LivenessMutex::exists(other), name);
        }
        for (const std::string &impossible : {std::string(), std::string(300, 'x')})
            QVERIFY(!LivenessMutex::create(impossible) && !SharedMemory::create(impossible, 10));
    }

private:
    [[nodiscard]] static QStringList names()
    {
        return QDir(QString::fromStdString(ObjectDirectory::ofThisProgram()->path()))
            .entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
    }
};

QTEST_APPLESS_MAIN(ObjectDirectoryTest)
#include "object_directory_test.moc"
