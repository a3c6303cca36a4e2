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
    void aViewIsNeverLargerThanItsBlock()
    {
        QVERIFY(!SharedMemory::open("block", 1));
        const auto block = SharedMemory::create("block", 1000);
        QVERIFY(block && std::count(block->data(), block->data() + 1000, std::byte(0)) == 1000);
        // Not even within the block's last page.
        QVERIFY(!SharedMemory::open("block", 1001) && !SharedMemory::open("block", 0));
        const auto part = SharedMemory::open("block", 20);
        QVERIFY(part && part->size() == 20);
        std::strcpy(text(block), "seen");
        QCOMPARE(text(part), "seen");
    }

    void viewsOutliveBlocksAndNames()
    {
        auto first = SharedMemory::create("block", 10);
        const auto oldView = SharedMemory::open("block", 10);
        auto second = SharedMemory::create("block", 20'000'000);
        QVERIFY(first && oldView && second);
        std::strcpy(text(first), "old");
        std::strcpy(text(second), "new");
        first.reset();
        const auto newView = SharedMemory::open("block", 20'000'000);
        QVERIFY2(newView, "the name of a newer block ends with that block only");
        second.reset();
        QVERIFY(!SharedMemory::open("block", 1));
        const auto third = SharedMemory::create("block", 10);
        removeSharedNames();
        QVERIFY(!SharedMemory::open("block", 1));
        std::strcpy(text(third), "there");
        QCOMPARE(text(oldView), "old");
        QCOMPARE(text(newView), "new");
    }

    void aMutexIsHeldOnce()
    {
        auto mutex = LivenessMutex::create("life");
        QVERIFY(mutex && LivenessMutex::exists("life") && !LivenessMutex::create("life"));
        mutex.reset();
        QVERIFY(!LivenessMutex::exists("life"));
        mutex = LivenessMutex::create("life");
        QVERIFY(mutex);
        removeSharedNames();
        QVERIFY(!LivenessMutex::exists("life"));
    }
};

QTEST_APPLESS_MAIN(SharedObjectsTest)
#include "shared_objects_test.moc"
