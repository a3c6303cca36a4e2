#pragma once

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTest>

/// A scripted reader in a folder, called "FrameReader" there, with its script.
class ReaderStandIn {
public:
    explicit ReaderStandIn(const QString &folder)
        : exe(folder + QDir::separator()
              + QFileInfo(TAVRIN_SCRIPTED_READER).fileName().replace("scripted_reader", "FrameReader"))
    {
        QVERIFY(QFile::copy(TAVRIN_SCRIPTED_READER, exe));
    }

    /// What readers started from now on do (scripted_reader.cpp).
    void setScript(const QStringList &lines) const
    {
        QFile file(exe + ".script");
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write((lines.join('\n') + '\n').toUtf8());
    }

    const QString exe;
};
