#include "reader_stand_in.h"

#include <QFile>
#include <QTest>

ReaderStandIn::ReaderStandIn(const QString &inFolder) : folder(inFolder.isEmpty() ? own.path() : inFolder)
{
    install();
}

void ReaderStandIn::install() const
{
    QVERIFY(QFile::link(TAVRIN_SCRIPTED_READER, exe()));
}

void ReaderStandIn::setScript(const QStringList &lines) const
{
    QFile file(exe() + ".script");
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write((lines.join('\n') + '\n').toUtf8());
}

QStringList ReaderStandIn::log() const
{
    QFile file(exe() + ".log");
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()).split('\n', Qt::SkipEmptyParts)
                                          : QStringList();
}

QStringList ReaderStandIn::commands() const
{
    QStringList lines = log();
    lines.removeIf([](const QString &line) { return line.startsWith("pid "); });
    return lines;
}

pid_t ReaderStandIn::process() const
{
    const QStringList starts = log().filter(QRegularExpression("^pid "));
    return starts.isEmpty() ? -1 : starts.constLast().mid(4).toInt();
}
