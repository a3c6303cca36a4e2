#include "platform/whole_file.h"

#include "failing_system.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <sys/stat.h>

class FilePermissionsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void keepsPermissionsAndLinks();
    void failuresLeaveEverythingAsItWas_data();
    void failuresLeaveEverythingAsItWas();
    void refusesPipesAndSecrets();

private:
    [[nodiscard]] QString path(const QString &name) const { return m_folder->filePath(name); }
    [[nodiscard]] std::filesystem::path native(const QString &name) const { return path(name).toStdU16String(); }
    [[nodiscard]] QStringList entries() const
    {
        return QDir(m_folder->path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
    }
    [[nodiscard]] mode_t permissions(const QString &name) const
    {
        struct stat status = {};
        return stat(qPrintable(path(name)), &status) == 0 ? status.st_mode & 07777 : 0;
    }
    void setPermissions(const QString &name, int mode) const
    {
        QVERIFY(chmod(qPrintable(path(name)), static_cast<mode_t>(mode)) == 0);
    }
    [[nodiscard]] std::string content(const QString &name) const
    {
        std::string bytes;
        return readWholeFile(native(name), bytes) ? "(unreadable)" : bytes;
    }

    std::unique_ptr<QTemporaryDir> m_folder;
};

void FilePermissionsTest::init()
{
    m_folder = std::make_unique<QTemporaryDir>();
    // Anybody may look into it, so that only what a test takes away is missing.
    setPermissions("", 0755);
}

void FilePermissionsTest::keepsPermissionsAndLinks()
{
    QVERIFY(!replaceWholeFile(native("real"), "old"));
    setPermissions("real", 0640);
    QVERIFY(QFile::link("real", path("link")));
    QVERIFY(!replaceWholeFile(native("link"), "new"));
    QCOMPARE(QFile::symLinkTarget(path("link")), path("real"));
    QCOMPARE(content("real"), "new");
    QCOMPARE(permissions("real"), mode_t(0640));

    // A new file gets what the user's mask allows.
    const mode_t mask = umask(0027);
    QVERIFY(!replaceWholeFile(native("fresh"), "new"));
    umask(mask);
    QCOMPARE(permissions("fresh"), mode_t(0640));
}

void FilePermissionsTest::failuresLeaveEverythingAsItWas_data()
{
    QTest::addColumn<int>("folderMode");
    QTest::addColumn<int>("fileMode");
    QTest::addColumn<bool>("fullDisk");
    QTest::addColumn<int>("error");
    QTest::newRow("read-only folder") << 0555 << 0666 << false << EACCES;
    QTest::newRow("read-only file") << 0777 << 0444 << false << EACCES;
    QTest::newRow("full disk") << 0777 << 0666 << true << EFBIG;
}

void FilePermissionsTest::failuresLeaveEverythingAsItWas()
{
    QFETCH(int, folderMode);
    QFETCH(int, fileMode);
    QFETCH(bool, fullDisk);
    QVERIFY(!replaceWholeFile(native("film.scenes"), "old"));
    setPermissions("film.scenes", fileMode);
    setPermissions("", folderMode);
    int error = 0;
    {
        const AsOrdinaryUser user;
        std::optional<FullDisk> disk;
        if (fullDisk)
            disk.emplace(100'000);
        error = replaceWholeFile(native("film.scenes"), std::string(200'000, 'x')).value();
    }
    setPermissions("", 0755);
    QTEST(error, "error");
    QCOMPARE(content("film.scenes"), "old");
    QCOMPARE(entries(), QStringList{"film.scenes"});
}

void FilePermissionsTest::refusesPipesAndSecrets()
{
    std::string bytes;
    // A pipe that nobody writes to would be waited for.
    QVERIFY(mkfifo(qPrintable(path("pipe")), 0666) == 0);
    QVERIFY(readWholeFile(native("pipe"), bytes) == std::errc::invalid_argument);
    QVERIFY(replaceWholeFile(native("pipe"), "new") == std::errc::invalid_argument);

    QVERIFY(!replaceWholeFile(native("secret"), "old"));
    setPermissions("secret", 0000);
    const AsOrdinaryUser user;
    QVERIFY(readWholeFile(native("secret"), bytes) == std::errc::permission_denied);
}

QTEST_APPLESS_MAIN(FilePermissionsTest)
#include "file_permissions_test.moc"
