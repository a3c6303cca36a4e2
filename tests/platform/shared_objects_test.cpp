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
    void refusedBlocksLeaveNothing_data();
    void refusedBlocksLeaveNothing();
    void anyNameStaysInTheDirectory_data();
    void anyNameStaysInTheDirectory();
    void impossibleNamesAreRefused();
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
    QCOMPARE(block->size(), 1000u);
    QVERIFY(std::all_of(block->data(), block->data() + 1000, [](std::byte byte) { return byte == std::byte(0); }));
    QVERIFY(!SharedMemory::open("block", 1001));
    // Not even within the block's last page.
    const auto whole = SharedMemory::open("block", 1000);
    const auto part = SharedMemory::open("block", 20);
    QVERIFY(whole && part);
    QCOMPARE(part->size(), 20u);
    std::strcpy(text(block), "seen");
    QCOMPARE(text(whole), "seen");
    QCOMPARE(text(part), "seen");
    QVERIFY(!SharedMemory::open("block", 0));
    QVERIFY(!SharedMemory::open("blockade", 1));
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
    QCOMPARE(text(newView), "new");
    second.reset();
    QVERIFY(!SharedMemory::open("block", 1));
    QCOMPARE(text(newView), "new");
}

void SharedObjectsTest::refusedBlocksLeaveNothing_data()
{
    QTest::addColumn<quint64>("size");
    QTest::newRow("none") << quint64(0);
    QTest::newRow("more than there is") << (quint64(1) << 50);
    QTest::newRow("more than a file can be") << std::numeric_limits<quint64>::max();
    QTest::newRow("more than a full disk takes") << quint64(2'000'000);
}

void SharedObjectsTest::refusedBlocksLeaveNothing()
{
    QFETCH(quint64, size);
    if (size != 2'000'000) {
        QVERIFY(!SharedMemory::create("block", size));
        return;
    }
    const FullDisk disk(1'000'000);
    QVERIFY(!SharedMemory::create("block", size));
    QVERIFY(SharedMemory::create("block", 1'000'000));
}

void SharedObjectsTest::anyNameStaysInTheDirectory_data()
{
    QTest::addColumn<QString>("name");
    for (const char *name : {"FRAME_READER_TAVRIN", "../out", "/etc/out", ".", "..", "a/b", "a%2Fb", "a.mutex",
                             "с пробелом", "новая\nстрока", "-option"})
        QTest::newRow(name) << QString::fromUtf8(name);
}

void SharedObjectsTest::anyNameStaysInTheDirectory()
{
    QFETCH(QString, name);
    const std::string utf8 = name.toStdString();
    const auto mutex = LivenessMutex::create(utf8);
    const auto memory = SharedMemory::create(utf8, 10);
    QVERIFY(mutex && memory);
    QVERIFY(LivenessMutex::exists(utf8));
    QVERIFY(SharedMemory::open(utf8, 10));
    QCOMPARE(names().size(), 2);
    // Names that differ are different objects.
    for (const char *other : {"out", "b", "a", "a%2fb", "FRAME_READER_"})
        QVERIFY(!LivenessMutex::exists(other));
}

void SharedObjectsTest::impossibleNamesAreRefused()
{
    for (const std::string &name : {std::string(), std::string(300, 'x')}) {
        QVERIFY(!LivenessMutex::create(name));
        QVERIFY(!LivenessMutex::exists(name));
        QVERIFY(!SharedMemory::create(name, 10));
        QVERIFY(!SharedMemory::open(name, 10));
    }
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
