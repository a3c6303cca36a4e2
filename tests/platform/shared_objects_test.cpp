#include "platform/shared_objects.h"

#include <QTest>

#include <algorithm>
#include <cstring>

namespace {

char *text(const std::unique_ptr<SharedMemory> &memory)
{
    return reinterpret_cast<char *>(memory->data());
}

} // namespace

class SharedObjectsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void aViewIsNeverLargerThanItsBlock();
    void aNewBlockLeavesOldViewsValid();
    void aMutexIsHeldOnce();
    void removedNamesLeaveViewsValid();
};

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
