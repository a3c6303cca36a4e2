#include "platform/posix/object_directory.h"
#include "platform/shared_objects.h"

#include "failing_system.h"

#include <QDir>
#include <QTest>

#include <limits>

class ObjectDirectoryTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void endedObjectsLeaveNothing();
    void refusedBlocksLeaveNothing();
    void anyNameStaysInTheDirectory();

private:
    [[nodiscard]] static QStringList names()
    {
        return QDir(QString::fromStdString(ObjectDirectory::ofThisProgram()->path()))
            .entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
    }
};

void ObjectDirectoryTest::endedObjectsLeaveNothing()
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

void ObjectDirectoryTest::refusedBlocksLeaveNothing()
{
    // None, more than there is, more than a file can be.
    for (const std::size_t size : {std::size_t(0), std::size_t(1) << 50, std::numeric_limits<std::size_t>::max()})
        QVERIFY(!SharedMemory::create("block", size));
    const FullDisk disk(1'000'000);
    QVERIFY(!SharedMemory::create("block", 2'000'000));
    QCOMPARE(names(), QStringList());
    QVERIFY(SharedMemory::create("block", 1'000'000));
}

void ObjectDirectoryTest::anyNameStaysInTheDirectory()
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

QTEST_APPLESS_MAIN(ObjectDirectoryTest)
#include "object_directory_test.moc"
