#include "platform/awake_screen.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusVirtualObject>
#include <QProcess>
#include <QTest>

/// Answers for one of the desktop's services and remembers what it is asked.
class DesktopService : public QDBusVirtualObject {
public:
    explicit DesktopService(const QVariant &answer) : m_answer(answer) {}

    [[nodiscard]] QString introspect(const QString &) const override { return {}; }
    bool handleMessage(const QDBusMessage &message, const QDBusConnection &bus) override
    {
        QVariantList told = message.arguments();
        if (!told.isEmpty() && told.last().userType() == qMetaTypeId<QDBusArgument>())
            told.last() = qdbus_cast<QVariantMap>(told.last());
        asked += {message.path() + " " + message.interface() + "." + message.member(), told};
        return bus.send(message.createReply(m_answer));
    }

    QVariantList asked;

private:
    QVariant m_answer;
};

class AwakeScreenTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        m_daemon.start("dbus-daemon", {"--session", "--nofork", "--print-address"});
        QVERIFY(m_daemon.waitForReadyRead());
        m_address = m_daemon.readLine().trimmed();
        qputenv("DBUS_SESSION_BUS_ADDRESS", m_address.toUtf8());
    }

    void cleanupTestCase()
    {
        m_daemon.kill();
        m_daemon.waitForFinished();
    }

    void theDesktopIsAskedAndReleased_data()
    {
        QTest::addColumn<QString>("service");
        QTest::addColumn<QVariant>("answer");
        QTest::addColumn<QVariantList>("asked");
        QTest::addColumn<QVariantList>("released");
        const QString screenSaver = "org.freedesktop.ScreenSaver";
        const QString saverCall = "/org/freedesktop/ScreenSaver org.freedesktop.ScreenSaver.";
        QTest::newRow("screen saver") << screenSaver << QVariant(7u)
                                      << QVariantList{saverCall + "Inhibit", QVariantList{"Таврин", "Фильм"}}
                                      << QVariantList{saverCall + "UnInhibit", QVariantList{7u}};
        const QString handle = "/org/freedesktop/portal/desktop/request/1";
        const QVariantMap reason{{"reason", "Фильм"}};
        QTest::newRow("portal")
            << "org.freedesktop.portal.Desktop" << QVariant::fromValue(QDBusObjectPath(handle))
            << QVariantList{"/org/freedesktop/portal/desktop org.freedesktop.portal.Inhibit.Inhibit",
                            QVariantList{"", 8u, reason}}
            << QVariantList{handle + " org.freedesktop.portal.Request.Close", QVariantList()};
    }

    void theDesktopIsAskedAndReleased()
    {
        QFETCH(QString, service);
        QFETCH(QVariant, answer);
        QFETCH(QVariantList, asked);
        QFETCH(QVariantList, released);
        DesktopService desktop(answer);
        QDBusConnection bus = QDBusConnection::connectToBus(m_address, service);
        QVERIFY(bus.registerVirtualObject("/", &desktop, QDBusConnection::SubPath) && bus.registerService(service));

        std::unique_ptr<AwakeScreen> awake = AwakeScreen::hold("Таврин", "Фильм");
        QTRY_COMPARE(desktop.asked, asked);
        awake.reset();
        QTRY_COMPARE(desktop.asked, asked + released);
        // One that ends before the desktop has answered is released too.
        AwakeScreen::hold("Таврин", "Фильм").reset();
        QTRY_COMPARE(desktop.asked, asked + released + asked + released);
        QDBusConnection::disconnectFromBus(service);
    }

private:
    QProcess m_daemon;
    QString m_address;
};

QTEST_GUILESS_MAIN(AwakeScreenTest)
#include "awake_screen_test.moc"
