#pragma once

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <sys/types.h>

/// A scripted reader in a folder, called "FrameReader" there, with its script and its log.
class ReaderStandIn {
public:
    explicit ReaderStandIn(const QString &folder) : exe(folder + "/FrameReader") { install(); }

    /// Puts the reader there again.
    void install() const { QVERIFY(QFile::link(TAVRIN_SCRIPTED_READER, exe)); }

    /// What readers started from now on do (scripted_reader.cpp).
    void setScript(const QStringList &lines) const
    {
        QFile file(exe + ".script");
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write((lines.join('\n') + '\n').toUtf8());
    }

    /// The commands taken so far by all readers, in order.
    [[nodiscard]] QStringList commands() const { return log().filter(QRegularExpression("^(?!pid )")); }

    /// The process started last.
    [[nodiscard]] pid_t process() const { return log().filter("pid ").constLast().mid(4).toInt(); }

    const QString exe;

private:
    [[nodiscard]] QStringList log() const
    {
        QFile file(exe + ".log");
        return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()).split('\n', Qt::SkipEmptyParts)
                                              : QStringList();
    }
};
