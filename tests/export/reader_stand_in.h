#pragma once

#include <QString>
#include <QStringList>
#include <QTemporaryDir>

#include <sys/types.h>

/// A scripted reader in a folder of its own, called "FrameReader" there, with its script and its log.
class ReaderStandIn {
public:
    ReaderStandIn() : ReaderStandIn(QString()) {}
    /// In `inFolder`, which outlives it.
    explicit ReaderStandIn(const QString &inFolder);

    /// Puts the reader there again.
    void install() const;

    [[nodiscard]] QString exe() const { return folder + "/FrameReader"; }

    /// What readers started from now on do (scripted_reader.cpp).
    void setScript(const QStringList &lines) const;

    /// The commands taken so far by all readers, in order.
    [[nodiscard]] QStringList commands() const;

    /// The process started last.
    [[nodiscard]] pid_t process() const;

private:
    [[nodiscard]] QStringList log() const;

    QTemporaryDir own;
    QString folder;
};
