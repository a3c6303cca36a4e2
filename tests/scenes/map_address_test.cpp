#include "scenes/map_address.h"

#include <QTest>

class MapAddressTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void pointsAreCutFromAddresses_data();
    void pointsAreCutFromAddresses();
    void otherAddressesHaveNoPoint();
};

void MapAddressTest::pointsAreCutFromAddresses_data()
{
    QTest::addColumn<QString>("address");
    QTest::addColumn<QString>("latitude");
    QTest::addColumn<QString>("longitude");
    const QString google = "https://www.google.com";
    QTest::newRow("place") << google + "/maps/@56.1489315,47.203575,15z" << "56.1489315" << "47.203575";
    QTest::newRow("route") << google + "/maps/dir/55.7522,37.6156/56.1489,47.2036/@55.9,42.4,7z" << "56.1489"
                           << "47.2036";
    QTest::newRow("route with an empty start") << google + "/maps/dir//56.1489,47.2036/@56.1489,47.2036,12z"
                                               << "47.2036" << "@56.1489";
    QTest::newRow("point without a comma") << google + "/maps/@56" << "56" << "";
    QTest::newRow("first service wins") << google + "/maps/@1,2,yandex?ll=3%2C4" << "1" << "2";

    const QString street = "https://www.openstreetmap.org";
    QTest::newRow("layers") << street + "/#map=15/56.1489/47.2036&layers=H" << "56.1489" << "47.2036";
    QTest::newRow("query, more keys") << street + "/?lat=56.1489&lon=47.2036&zoom=15" << "56.1489"
                                      << "47.2036&zoom=15";
    QTest::newRow("marker and view") << street + "/?mlat=56.1&mlon=47.2#map=15/56.1489/47.2036" << "56.1489"
                                     << "47.2036";
    QTest::newRow("marker alone") << street + "/?mlat=56.1&mlon=47.2" << "56.1&mlon=47.2" << "";
    QTest::newRow("passed on") << street + "/yandex?ll=47.2%2C56.1" << "56.1" << "47.2";

    const QString yandex = "https://yandex.ru";
    QTest::newRow("longitude first") << yandex + "/maps/?ll=47.2036%2C56.1489&z=12" << "56.1489" << "47.2036";
    QTest::newRow("key not the first") << yandex + "/maps/?z=12&ll=47.2036%2C56.1489" << "" << "";
    QTest::newRow("anything between is copied") << yandex + "/?ll=47°%2C 56,1&z=1" << " 56,1" << "47°";
}

void MapAddressTest::pointsAreCutFromAddresses()
{
    QFETCH(QString, address);
    const std::optional<MapPoint> point = mapPointIn(address);
    QVERIFY(point);
    QTEST(point->latitude, "latitude");
    QTEST(point->longitude, "longitude");
}

void MapAddressTest::otherAddressesHaveNoPoint()
{
    for (const char *other : {"https://example.org/@56.1,47.2", "https://www.GOOGLE.com/maps/@56.1,47.2",
                              "https://www.openstreetmap.org/#56.1/47.2", ""})
        QVERIFY(!mapPointIn(other));
}

QTEST_APPLESS_MAIN(MapAddressTest)
#include "map_address_test.moc"
