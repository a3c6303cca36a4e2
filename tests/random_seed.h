#pragma once

#include <QByteArray>
#include <QRandomGenerator>

/// The seed of a random test, told so that a failure can be repeated: what TAVRIN_SEED says, or one by chance. Ends the
/// test if TAVRIN_SEED is no number.
[[nodiscard]] inline quint32 randomSeed()
{
    const QByteArray given = qgetenv("TAVRIN_SEED");
    bool isNumber = true;
    const quint32 seed = given.isEmpty() ? QRandomGenerator::global()->generate() : given.toUInt(&isNumber);
    if (!isNumber)
        qFatal("TAVRIN_SEED is no number: %s", given.constData());
    qInfo("TAVRIN_SEED=%u", seed);
    return seed;
}
