#pragma once

#include <QString>
#include <QStringList>

#include <optional>

/// A point of a map as texts cut from an address: nothing reads, checks or reformats them.
struct MapPoint {
    QString latitude;
    QString longitude;

    bool operator==(const MapPoint &) const = default;
};

/// The names of the map services, in the order that their indexes have.
[[nodiscard]] QStringList mapServices();

/// The web address that the service's map opens at; empty for an index that no service has.
[[nodiscard]] QString mapStartAddress(int service);

/// The point that an address copied from a map service's page shows, or none if the address is from no service known
/// here. An address of a known service without the key expected there gives two empty texts.
[[nodiscard]] std::optional<MapPoint> mapPointIn(const QString &address);
