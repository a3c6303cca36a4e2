#include "scenes/map_address.h"

#include "util/text_routines.h"

#include <array>

namespace {

struct MapService {
    const char *name;
    const char *startAddress;
};

constexpr std::array<MapService, 3> services{{
    {"Open Street Map", "https://www.openstreetmap.org"},
    {"Google Maps", "https://www.google.com/maps"},
    {"Яндекс карты", "https://yandex.ru/maps/"},
}};

const QString comma = QStringLiteral(",");
const QString slash = QStringLiteral("/");
const QString ampersand = QStringLiteral("&");

MapPoint pointInGoogle(const QString &address)
{
    const QString route = QStringLiteral("/maps/dir/");
    if (address.contains(route)) {
        // The second point of a route: two coordinates each, so the fields after the first point's.
        const QString points = str_replace(slash, comma, getFieldFromString(1, address, route));
        return {getFieldFromString(2, points, comma), getFieldFromString(3, points, comma)};
    }
    const QString view = getFieldFromString(1, address, QStringLiteral("@"));
    return {getFieldFromString(0, view, comma), getFieldFromString(1, view, comma)};
}

std::optional<MapPoint> pointInOpenStreetMap(const QString &address)
{
    const QString mapKey = QStringLiteral("map=");
    if (address.contains(mapKey)) {
        QString view = str_replace(slash, comma, getFieldFromString(1, address, mapKey));
        view = str_replace(ampersand, comma, view);
        return MapPoint{getFieldFromString(1, view, comma), getFieldFromString(2, view, comma)};
    }
    const QString latitudeKey = QStringLiteral("lat=");
    if (address.contains(latitudeKey)) {
        const QString point = str_replace(QStringLiteral("&lon="), comma, getFieldFromString(1, address, latitudeKey));
        return MapPoint{getFieldFromString(0, point, comma), getFieldFromString(1, point, comma)};
    }
    return std::nullopt;
}

MapPoint pointInYandex(const QString &address)
{
    const QString point =
        str_replace(QStringLiteral("%2C"), ampersand, getFieldFromString(1, address, QStringLiteral("?ll=")));
    // This service writes the longitude first.
    return {getFieldFromString(1, point, ampersand), getFieldFromString(0, point, ampersand)};
}

} // namespace

QStringList mapServices()
{
    QStringList names;
    for (const MapService &service : services)
        names += QString::fromUtf8(service.name);
    return names;
}

QString mapStartAddress(int service)
{
    if (service < 0 || service >= static_cast<int>(services.size()))
        return {};
    return QString::fromLatin1(services[static_cast<std::size_t>(service)].startAddress);
}

std::optional<MapPoint> mapPointIn(const QString &address)
{
    if (address.contains(QLatin1String("google")))
        return pointInGoogle(address);
    if (address.contains(QLatin1String("openstreetmap"))) {
        if (std::optional<MapPoint> point = pointInOpenStreetMap(address))
            return point;
    }
    if (address.contains(QLatin1String("yandex")))
        return pointInYandex(address);
    return std::nullopt;
}
