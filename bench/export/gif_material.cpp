#include "gif_material.h"

#include <QPainter>
#include <QPainterPath>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <random>

namespace {

constexpr int side = 200;
constexpr int picturesEach = 5;
/// Pixels that a turning camera moves by from picture to picture.
constexpr int turn = 23;

/// A number 0 .. 1 for a point of a lattice, the same at every call.
double latticeValue(int x, int y, int layer)
{
    auto bits = static_cast<std::uint32_t>(x) * 374761393U + static_cast<std::uint32_t>(y) * 668265263U
                + static_cast<std::uint32_t>(layer) * 2246822519U;
    bits = (bits ^ (bits >> 13U)) * 1274126177U;
    return static_cast<double>((bits ^ (bits >> 16U)) & 0xFFFFU) / 65535.0;
}

double smoothNoise(double x, double y, int layer)
{
    const int left = static_cast<int>(std::floor(x));
    const int top = static_cast<int>(std::floor(y));
    const auto eased = [](double part) { return part * part * (3 - 2 * part); };
    const double across = eased(x - left);
    const double down = eased(y - top);
    const auto between = [](double from, double to, double part) { return from + (to - from) * part; };
    return between(between(latticeValue(left, top, layer), latticeValue(left + 1, top, layer), across),
                   between(latticeValue(left, top + 1, layer), latticeValue(left + 1, top + 1, layer), across), down);
}

/// Noise of all scales from `coarsest` pixels down, each scale weaker than the one above as in natural pictures.
double naturalNoise(double x, double y, double coarsest, int layer)
{
    double sum = 0;
    double weight = 0.5;
    for (double scale = coarsest; scale >= 2; scale /= 2, weight *= 0.5)
        sum += weight * smoothNoise(x / scale, y / scale, layer++);
    return sum;
}

using Light = std::array<double, 3>;

/// The light from a place of the landscape, 0 .. 255 a channel: sky, hills of two materials, their shading.
Light landscape(double x, double y)
{
    const double horizon = 70 + 60 * (naturalNoise(x, 0, 128, 1) - 0.5);
    if (y < horizon) {
        const double cloud = std::clamp(naturalNoise(x, y * 2, 128, 20) * 2.4 - 1.0, 0.0, 1.0);
        const double depth = y / 140;
        return {95 + 90 * depth + 110 * cloud * (1 - depth), 140 + 60 * depth + 75 * cloud * (1 - depth),
                215 - 10 * depth + 25 * cloud};
    }
    const double height = naturalNoise(x, y, 64, 40);
    const double slope = (height - naturalNoise(x + 2, y + 1, 64, 40)) * 6;
    const double meadow = std::clamp(naturalNoise(x, y, 96, 60) * 4 - 1.6, 0.0, 1.0);
    const double shade = std::clamp(0.75 + slope, 0.15, 1.35);
    const double far = std::clamp((y - horizon) / 140, 0.0, 1.0);
    const auto mixed = [&](double rock, double grass) {
        return ((rock + (grass - rock) * meadow) * (0.6 + 0.7 * height) * shade) * (0.55 + 0.45 * far) + 30 * (1 - far);
    };
    return {mixed(172, 96), mixed(138, 142), mixed(108, 58)};
}

/// A lit ball, or the landscape behind it.
Light sceneLight(double x, double y, double ballX, double ballY)
{
    constexpr double radius = 34;
    const double dx = (x - ballX) / radius;
    const double dy = (y - ballY) / radius;
    const double square = dx * dx + dy * dy;
    if (square >= 1)
        return landscape(x, y);
    const double facing = std::max(0.0, (-dx * 0.5 - dy * 0.6 + std::sqrt(1 - square) * 0.62));
    const double shine = std::pow(facing, 24) * 150;
    const double skin = 0.85 + 0.3 * naturalNoise(x - ballX + 500, y - ballY, 16, 80);
    return {(30 + 185 * facing) * skin + shine, (18 + 92 * facing) * skin + shine, (16 + 60 * facing) * skin + shine};
}

QImage photograph(double cameraX, double ballX, std::mt19937 &random)
{
    constexpr double grain = 2.5;
    std::normal_distribution<double> noise(0, grain);
    QImage picture(side, side, QImage::Format_RGB888);
    for (int y = 0; y < side; ++y) {
        uchar *pixel = picture.scanLine(y);
        for (int x = 0; x < side; ++x) {
            const Light light = sceneLight(x + cameraX, y, ballX, 130);
            const double common = noise(random);
            for (const double channel : light)
                *pixel++ =
                    static_cast<uchar>(std::clamp(std::lround(channel + common + noise(random) * 0.5), 0L, 255L));
        }
    }
    return picture;
}

QImage drawing(int cameraX, int figureX)
{
    QImage picture(side, side, QImage::Format_RGB888);
    QPainter painter(&picture);
    painter.setRenderHint(QPainter::Antialiasing);
    QLinearGradient sky(0, 0, 0, 120);
    sky.setColorAt(0, QColor(44, 82, 160));
    sky.setColorAt(1, QColor(250, 196, 150));
    painter.fillRect(picture.rect(), sky);
    painter.translate(-cameraX, 0);
    const QPen outline(QColor(28, 24, 40), 2.5);
    painter.setPen(outline);
    for (int hill = -1; hill < 6; ++hill) {
        QPainterPath shape(QPointF(hill * 90 - 80, 210));
        shape.quadTo(QPointF(hill * 90 + 20, 40 + 30 * (hill & 1)), QPointF(hill * 90 + 130, 210));
        painter.setBrush(hill % 2 == 0 ? QColor(92, 148, 84) : QColor(120, 172, 92));
        painter.drawPath(shape);
    }
    for (int house = 0; house < 4; ++house) {
        const int left = 30 + house * 95;
        painter.setBrush(QColor(214 - 20 * house, 120 + 22 * house, 88));
        painter.drawRect(left, 120, 46, 44);
        painter.setBrush(QColor(150, 52, 60));
        painter.drawPolygon(QPolygon({QPoint(left - 8, 122), QPoint(left + 23, 92), QPoint(left + 54, 122)}));
        painter.setBrush(QColor(255, 236, 150));
        painter.drawRect(left + 8, 132, 12, 14);
        painter.drawRect(left + 27, 132, 12, 14);
    }
    painter.resetTransform();

    QRadialGradient glow(QPointF(figureX, 150), 46, QPointF(figureX - 12, 134));
    glow.setColorAt(0, QColor(255, 244, 224));
    glow.setColorAt(0.6, QColor(240, 170, 120));
    glow.setColorAt(1, QColor(168, 84, 76));
    painter.setPen(outline);
    painter.setBrush(glow);
    painter.drawEllipse(QPoint(figureX, 150), 34, 34);
    painter.setBrush(Qt::white);
    painter.drawEllipse(QPoint(figureX - 12, 142), 8, 10);
    painter.drawEllipse(QPoint(figureX + 12, 142), 8, 10);
    painter.setBrush(outline.color());
    painter.drawEllipse(QPoint(figureX - 10, 144), 3, 4);
    painter.drawEllipse(QPoint(figureX + 14, 144), 3, 4);
    painter.drawArc(figureX - 14, 150, 28, 20, 200 * 16, 140 * 16);
    painter.setPen(QColor(255, 250, 230));
    QFont font;
    font.setPixelSize(17);
    font.setBold(true);
    painter.setFont(font);
    painter.drawText(10, 24, QStringLiteral("Серия 12"));
    return picture;
}

} // namespace

GifMaterial photographicMaterial()
{
    GifMaterial material{"photographic", {}};
    std::mt19937 random(20240611);
    for (int i = 0; i < picturesEach; ++i)
        material.pictures.push_back(photograph(0, 30 + 33 * i, random));
    for (int i = 0; i < picturesEach; ++i)
        material.pictures.push_back(photograph(400 + turn * i, 480 + 5 * i, random));
    return material;
}

GifMaterial drawnMaterial()
{
    GifMaterial material{"drawn", {}};
    for (int i = 0; i < picturesEach; ++i)
        material.pictures.push_back(drawing(0, 40 + 30 * i));
    for (int i = 0; i < picturesEach; ++i)
        material.pictures.push_back(drawing(40 + turn * i, 120));
    return material;
}
