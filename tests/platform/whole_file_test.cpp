#include "platform/whole_file.h"

#include <QDir>
#include <QTemporaryDir>
#include <QTest>

class WholeFileTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void replacesAndReadsBack();
    void refusesWhatIsNoFile();

private:
    [[nodiscard]] std::filesystem::path native(const QString &name) const
    {
        return m_folder.filePath(name).toStdU16String();
    }
    [[nodiscard]] std::string content(const QString &name) const
    {
        std::string bytes;
        return readWholeFile(native(name), bytes) ? "(unreadable)" : bytes;
    }

    QTemporaryDir m_folder;
};

void WholeFileTest::replacesAndReadsBack()
{
    const QString name = "фильм #1.scenes";
    const QString longest(255, 'n');
    for (const std::string &bytes :
         {std::string("new"), std::string(3'000'000, 'x'), std::string(), std::string("a\0b", 3)}) {
        QVERIFY(!replaceWholeFile(native(name), bytes));
        QVERIFY(content(name) == bytes);
        QVERIFY(!replaceWholeFile(native(longest), bytes));
        QVERIFY(content(longest) == bytes);
    }
    QVERIFY(replaceWholeFile(native(longest + 'n'), "new") == std::errc::filename_too_long);
    QCOMPARE(QDir(m_folder.path()).entryList(QDir::Files | QDir::Hidden), (QStringList{longest, name}));
}

void WholeFileTest::refusesWhatIsNoFile()
{
    std::string bytes;
    QVERIFY(readWholeFile(native("missing"), bytes) == std::errc::no_such_file_or_directory);
    QVERIFY(QDir(m_folder.path()).mkdir("folder"));
    QVERIFY(readWholeFile(native("folder"), bytes) == std::errc::is_a_directory);
    QVERIFY(replaceWholeFile(native("folder"), "new") == std::errc::is_a_directory);
}

QTEST_APPLESS_MAIN(WholeFileTest)
#include "whole_file_test.moc"
