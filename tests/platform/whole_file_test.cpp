#include "platform/whole_file.h"

#include <QDir>
#include <QTemporaryDir>
#include <QTest>

class WholeFileTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void replacesAndReadsBack()
    {
        const QStringList names{QString(255, 'n'), "фильм #1.scenes"};
        for (const std::string &bytes :
             {std::string("new"), std::string(3'000'000, 'x'), std::string(), std::string("a\0b", 3)}) {
            for (const QString &name : names) {
                std::string read;
                QVERIFY(!replaceWholeFile(native(name), bytes) && !readWholeFile(native(name), read));
                QVERIFY(read == bytes);
            }
        }
        QVERIFY(replaceWholeFile(native(names[0] + 'n'), "new") == std::errc::filename_too_long);
        QCOMPARE(QDir(m_folder.path()).entryList(QDir::Files | QDir::Hidden), names);
    }

    void refusesWhatIsNoFile()
    {
        std::string bytes;
        QVERIFY(readWholeFile(native("missing"), bytes) == std::errc::no_such_file_or_directory);
        QVERIFY(QDir(m_folder.path()).mkdir("folder"));
        QVERIFY(readWholeFile(native("folder"), bytes) == std::errc::is_a_directory);
        QVERIFY(replaceWholeFile(native("folder"), "new") == std::errc::is_a_directory);
    }

private:
    [[nodiscard]] std::filesystem::path native(const QString &name) const
    {
        return m_folder.filePath(name).toStdU16String();
    }

    QTemporaryDir m_folder;
};

QTEST_APPLESS_MAIN(WholeFileTest)
#include "whole_file_test.moc"
