#include "scenes/map_address.h"

#include <QTest>

class MapAddressTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void pointsAreCutFromAddresses();
};

void MapAddressTest::pointsAreCutFromAddresses()
{
    using Point = std::optional<MapPoint>;
    const std::pair<const char *, Point> cases[] = {
        {"https://www.google.com/maps/@56.1489315,47.203575,15z", {{"56.1489315", "47.203575"}}},
        {"https://www.google.com/maps/dir/55.7522,37.6156/56.1,47.2/@55.9,42.4,7z", {{"56.1", "47.2"}}},
        // A route with an empty start, a point without a comma, nothing to cut from; the first service wins.
        {"https://www.google.com/maps/dir//56.1489,47.2036/@56.1489,47.2036,12z", {{"47.2036", "@56.1489"}}},
        {"https://www.google.com/maps/@56", {{"56", ""}}},
        {"https://www.google.com/maps/", {{"", ""}}},
        {"https://www.google.com/maps/@1,2,yandex?ll=3%2C4", {{"1", "2"}}},

        {"https://www.openstreetmap.org/#map=15/56.1489/47.2036&layers=H", {{"56.1489", "47.2036"}}},
        {"https://www.openstreetmap.org/?lat=56.1&lon=47.2&zoom=15", {{"56.1", "47.2&zoom=15"}}},
        {"https://www.openstreetmap.org/?mlat=56.1&mlon=47.2#map=15/56.1489/47.2036", {{"56.1489", "47.2036"}}},
        {"https://www.openstreetmap.org/?mlat=56.1&mlon=47.2", {{"56.1&mlon=47.2", ""}}},
        {"https://www.openstreetmap.org/yandex?ll=47.2%2C56.1", {{"56.1", "47.2"}}},

        {"https://yandex.ru/maps/?ll=47°%2C 56,1&z=12", {{" 56,1", "47°"}}},
        {"https://yandex.ru/maps/?z=12&ll=47.2036%2C56.1489", {{"", ""}}},

        {"https://example.org/@56.1,47.2", {}},
        {"https://www.GOOGLE.com/maps/@56.1,47.2", {}},
        {"https://www.openstreetmap.org/#56.1/47.2", {}},
        {"", {}},
    };
    for (const auto &[address, point] : cases)
        QVERIFY2(mapPointIn(address) == point, address);
}

QTEST_APPLESS_MAIN(MapAddressTest)
#include "map_address_test.moc"
