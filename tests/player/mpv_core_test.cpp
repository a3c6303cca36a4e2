#include "player/mpv/mpv_core.h"

#include "films/film_maker.h"

#include <QRegularExpression>
#include <QTest>

class MpvCoreTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void soundIsSentToWhatPlaysItHere();
};

// The core passes over the names that its build does not know, and then plays the sound to nowhere.
void MpvCoreTest::soundIsSentToWhatPlaysItHere()
{
    MpvCore core;
    QVERIFY(core.isValid() && mpv_request_log_messages(core.handle(), "v") >= 0);
    const QByteArray film = makeFilm(standardFilm("h264_25.mp4")).toUtf8();
    QVERIFY(core.setString("vid", "no") && core.command({"loadfile", film.constData()}));
    static const QRegularExpression tried("Trying audio driver '(.*)'");
    static const QRegularExpression unknown("Audio output (.*) not found");
    QStringList known;
    for (;;) {
        const mpv_event &event = core.waitForEvent(core.string("current-ao").isEmpty() ? 20.0 : 0.5);
        if (event.event_id == MPV_EVENT_NONE)
            break;
        if (event.event_id != MPV_EVENT_LOG_MESSAGE)
            continue;
        const QString told = static_cast<const mpv_event_log_message *>(event.data)->text;
        if (const auto name = tried.match(told); name.hasMatch())
            known += name.captured(1);
        if (const auto name = unknown.match(told); name.hasMatch())
            known.removeAll(name.captured(1));
    }
    QVERIFY2(!known.isEmpty() && known.first() != "null", qPrintable(known.join(' ')));
}

QTEST_GUILESS_MAIN(MpvCoreTest)
#include "mpv_core_test.moc"
