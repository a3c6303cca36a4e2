#include "platform/posix/object_directory.h"
#include "platform/shared_objects.h"

#include "failing_system.h"

#include <QDir>
#include <QTest>

#include <cstring>
#include <limits>

class SharedObjectsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void cleanup();
    void aViewIsNeverLargerThanItsBlock();
    void aNewBlockLeavesOldViewsValid();
    void refusedBlocksLeaveNothing();
    void anyNameStaysInTheDirectory();
    void aMutexIsHeldOnce();
    void removedNamesLeaveViewsValid();

private:
    [[nodiscard]] static QStringList names()
    {
        return QDir(QString::fromStdString(ObjectDirectory::ofThisProgram()->path()))
            .entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
    }
    [[nodiscard]] static char *text(const std::unique_ptr<SharedMemory> &memory)
    {
        return reinterpret_cast<char *>(memory->data());
    }
};

// Whatever a test did, its objects have ended, and their names with them.
void SharedObjectsTest::cleanup()
{
    QCOMPARE(names(), QStringList());
}

void SharedObjectsTest::aViewIsNeverLargerThanItsBlock()
{
    QVERIFY(!SharedMemory::open("block", 1));
    const auto block = SharedMemory::create("block", 1000);
    QVERIFY(block);
    QVERIFY(std::all_of(block->data(), block->data() + 1000, [](std::byte byte) { return byte == std::byte(0); }));
    // Not even within the block's last page.
    QVERIFY(!SharedMemory::open("block", 1001));
    QVERIFY(!SharedMemory::open("block", 0));
    const auto part = SharedMemory::open("block", 20);
    QVERIFY(part);
    QCOMPARE(part->size(), 20u);
    std::strcpy(text(block), "seen");
    QCOMPARE(text(part), "seen");
}

void SharedObjectsTest::aNewBlockLeavesOldViewsValid()
{
    auto first = SharedMemory::create("block", 10);
    const auto oldView = SharedMemory::open("block", 10);
    auto second = SharedMemory::create("block", 20'000'000);
    QVERIFY(first && oldView && second);
    std::strcpy(text(first), "old");
    std::strcpy(text(second), "new");
    first.reset();
    QCOMPARE(text(oldView), "old");
    const auto newView = SharedMemory::open("block", 20'000'000);
    QVERIFY2(newView, "the name of a newer block ends with that block only");
    second.reset();
    QVERIFY(!SharedMemory::open("block", 1));
    QCOMPARE(text(newView), "new");
}

void SharedObjectsTest::refusedBlocksLeaveNothing()
{
    // None, more than there is, more than a file can be.
    for (const std::size_t size : {std::size_t(0), std::size_t(1) << 50, std::numeric_limits<std::size_t>::max()})
        QVERIFY(!SharedMemory::create("block", size));
    const FullDisk disk(1'000'000);
    QVERIFY(!SharedMemory::create("block", 2'000'000));
    QCOMPARE(names(), QStringList());
    QVERIFY(SharedMemory::create("block", 1'000'000));
}

void SharedObjectsTest::anyNameStaysInTheDirectory()
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

void SharedObjectsTest::aMutexIsHeldOnce()
{
    auto mutex = LivenessMutex::create("life");
    QVERIFY(mutex);
    QVERIFY(!LivenessMutex::create("life"));
    QVERIFY(LivenessMutex::exists("life"));
    mutex.reset();
    QVERIFY(!LivenessMutex::exists("life"));
    QVERIFY(LivenessMutex::create("life"));
}

void SharedObjectsTest::removedNamesLeaveViewsValid()
{
    const auto mutex = LivenessMutex::create("life");
    const auto memory = SharedMemory::create("block", 10);
    removeSharedNames();
    QVERIFY(!LivenessMutex::exists("life"));
    QVERIFY(!SharedMemory::open("block", 1));
    std::strcpy(text(memory), "there");
}

QTEST_APPLESS_MAIN(SharedObjectsTest)
#include "shared_objects_test.moc"
