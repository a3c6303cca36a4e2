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
    void init()
    {
        m_folder = std::make_unique<QTemporaryDir>();
        // Anybody may look into it, so that only what a test takes away is missing.
        setPermissions("", 0755);
    }

    void keepsPermissionsAndLinks()
    {
        write("real", "old");
        setPermissions("real", 0640);
        QVERIFY(QFile::link("real", path("link")));
        write("link", "new");
        QCOMPARE(QFile::symLinkTarget(path("link")), path("real"));
        // What a link leads to may be gone for the moment, such as a disk that is not there.
        QVERIFY(QFile::link("new", path("dangling")) && QFile::link("nowhere/file", path("lost")));
        QVERIFY(!replaceWholeFile(native("dangling"), "new") && QFile::exists(path("new")));
        QCOMPARE(replaceWholeFile(native("lost"), "new"), std::errc::no_such_file_or_directory);
        QCOMPARE(QFile::symLinkTarget(path("lost")), path("nowhere/file"));
        QCOMPARE(content("real"), "new");
        QCOMPARE(permissions("real"), mode_t(0640));

        // A new file gets what the user's mask allows.
        const mode_t mask = umask(0027);
        write("fresh", "new");
        umask(mask);
        QCOMPARE(permissions("fresh"), mode_t(0640));
    }

    void failuresLeaveEverythingAsItWas()
    {
        const struct {
            int folderMode, fileMode;
            rlim_t diskBytes;
            int error;
        } failures[]{
            {0555, 0666, 1'000'000, EACCES}, // the folder is read-only
            {0777, 0444, 1'000'000, EACCES}, // the file is
            {0777, 0666, 100'000, EFBIG},    // the disk is full
        };
        for (const auto &[folderMode, fileMode, diskBytes, expected] : failures) {
            init();
            write("film.scenes", "old");
            setPermissions("film.scenes", fileMode);
            setPermissions("", folderMode);
            int error = 0;
            {
                const AsOrdinaryUser user;
                const FullDisk disk(diskBytes);
                error = replaceWholeFile(native("film.scenes"), std::string(200'000, 'x')).value();
            }
            setPermissions("", 0755);
            QCOMPARE(error, expected);
            QCOMPARE(content("film.scenes"), "old");
            QCOMPARE(QDir(m_folder->path()).entryList(QDir::Files | QDir::Hidden), QStringList{"film.scenes"});
        }
    }

    void refusesPipesAndSecrets()
    {
        std::string bytes;
        // A pipe that nobody writes to would be waited for.
        QVERIFY(mkfifo(qPrintable(path("pipe")), 0666) == 0);
        QVERIFY(readWholeFile(native("pipe"), bytes) == std::errc::invalid_argument);
        QVERIFY(replaceWholeFile(native("pipe"), "new") == std::errc::invalid_argument);

        write("secret", "old");
        setPermissions("secret", 0000);
        const AsOrdinaryUser user;
        QVERIFY(readWholeFile(native("secret"), bytes) == std::errc::permission_denied);
    }

private:
    [[nodiscard]] QString path(const QString &name) const { return m_folder->filePath(name); }
    [[nodiscard]] std::filesystem::path native(const QString &name) const { return path(name).toStdU16String(); }
    [[nodiscard]] mode_t permissions(const QString &name) const
    {
        struct stat status = {};
        return stat(qPrintable(path(name)), &status) == 0 ? status.st_mode & 07777 : 0;
    }
    void setPermissions(const QString &name, int mode) const
    {
        QVERIFY(chmod(qPrintable(path(name)), static_cast<mode_t>(mode)) == 0);
    }
    void write(const QString &name, const char *bytes) const { QVERIFY(!replaceWholeFile(native(name), bytes)); }
    [[nodiscard]] std::string content(const QString &name) const
    {
        std::string bytes;
        return readWholeFile(native(name), bytes) ? "(unreadable)" : bytes;
    }

    std::unique_ptr<QTemporaryDir> m_folder;
};

QTEST_APPLESS_MAIN(FilePermissionsTest)
#include "file_permissions_test.moc"
