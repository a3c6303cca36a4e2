#include "widgets/icons.h"
#include "widgets/message_box.h"
#include "widgets/smoky_style.h"
#include "widgets/style_manager.h"

#include <QApplication>
#include <QComboBox>
#include <QDir>
#include <QLineEdit>
#include <QListWidget>
#include <QProgressBar>
#include <QPushButton>
#include <QScreen>
#include <QSlider>
#include <QTableWidget>
#include <QTest>

#include <algorithm>
#include <cmath>
#include <functional>
#include <tuple>
#include <utility>

namespace {

double luminance(const QColor &color)
{
    const auto channel = [](double value) {
        return value <= 0.03928 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * channel(color.redF()) + 0.7152 * channel(color.greenF()) + 0.0722 * channel(color.blueF());
}

// The contrast ratio of the web's accessibility guidelines, 1 .. 21.
double contrast(const QColor &one, const QColor &other)
{
    const auto [darker, lighter] = std::minmax({luminance(one), luminance(other)});
    return (lighter + 0.05) / (darker + 0.05);
}

/// How many pixels of a rectangle at the left top are so.
int pixelsOf(QSize size, const std::function<bool(int x, int y)> &areSo)
{
    int count = 0;
    for (int y = 0; y < size.height(); ++y) {
        for (int x = 0; x < size.width(); ++x)
            count += areSo(x, y);
    }
    return count;
}

/// How many pixels are painted; those with a colour, or all.
int painted(const QImage &image, int leastSaturation = 0)
{
    return pixelsOf(image.size(), [&](int x, int y) {
        const QColor color = image.pixelColor(x, y);
        return color.alpha() > 64 && color.saturation() >= leastSaturation;
    });
}

} // namespace

class WidgetsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void onlyAKnownStyleChangesTheColours()
    {
        // As a desktop's theme would have set it.
        QPalette desktop;
        desktop.setColor(QPalette::Window, Qt::white);
        QApplication::setPalette(desktop);
        QVERIFY(TStyleManager::TrySetStyle("Smokey Quartz Kamri"));
        QVERIFY(luminance(QApplication::palette().color(QPalette::Window)) < 0.05);

        QStringList told;
        setMessageBoxAnswer([&](const QString &text) { told += text; });
        QStyle *const before = QApplication::style();
        QVERIFY(qobject_cast<SmokyStyle *>(before));
        QVERIFY(!TStyleManager::TrySetStyle("Небывалый", false));
        QCOMPARE(told, QStringList());
        QVERIFY(!TStyleManager::TrySetStyle("Небывалый", true));
        QCOMPARE(told.filter("Небывалый").size(), 1);
        QCOMPARE(QApplication::style(), before);
        setMessageBoxAnswer({});
    }

    void textsStandOutFromTheirGround()
    {
        const std::tuple<QPalette::ColorRole, QPalette::ColorRole, double> cases[]{
            {QPalette::WindowText, QPalette::Window, 7.0},
            {QPalette::Text, QPalette::Base, 7.0},
            {QPalette::Text, QPalette::AlternateBase, 7.0},
            {QPalette::ButtonText, QPalette::Button, 7.0},
            {QPalette::HighlightedText, QPalette::Highlight, 4.5},
            {QPalette::ToolTipText, QPalette::ToolTipBase, 7.0},
            {QPalette::PlaceholderText, QPalette::Base, 4.5},
            {QPalette::Link, QPalette::Window, 4.5}, // the focus ring
            {QPalette::Highlight, QPalette::Base, 2.0},
        };
        const QPalette palette = SmokyStyle().standardPalette();
        for (const auto &[text, ground, least] : cases) {
            const auto contrastIn = [&, text = text, ground = ground](QPalette::ColorGroup group) {
                return contrast(palette.color(group, text), palette.color(group, ground));
            };
            const double active = contrastIn(QPalette::Active);
            const double disabled = contrastIn(QPalette::Disabled);
            QVERIFY2(active >= least && (text == QPalette::ToolTipText || disabled < active * 0.75),
                     qPrintable(QString("role %1: %2, disabled %3").arg(text).arg(active).arg(disabled)));
        }
    }

    void focusAndDisabledAreSeen()
    {
        QWidget window;
        window.resize(300, 500);
        QPushButton other(&window);
        QList<QWidget *> fields{
            new QPushButton("Начало", &window), new QLineEdit("12.34", &window), new QListWidget(&window),
            new QTableWidget(2, 2, &window),    new QComboBox(&window),          new QSlider(Qt::Horizontal, &window)};
        for (int top = 40; QWidget *const field : fields)
            field->setGeometry(40, std::exchange(top, top + 70), 120, 60);
        window.show();
        QVERIFY(QTest::qWaitForWindowActive(&window));
        for (QWidget *const field : fields) {
            // What is really on the window, not what a fresh grab would paint.
            const auto shown = [&] {
                return window.screen()->grabWindow(window.winId()).toImage().copy(field->geometry());
            };
            other.setFocus();
            window.repaint();
            const QImage plain = shown();
            const auto isSeen = [&] {
                const QImage now = shown();
                return pixelsOf(now.size(), [&](int x, int y) { return now.pixel(x, y) != plain.pixel(x, y); }) > 60;
            };
            field->setFocus();
            QTRY_VERIFY2(isSeen(), field->metaObject()->className());
            // A field with cells shows it on its frame as well.
            QVERIFY(!qobject_cast<QAbstractItemView *>(field) || shown().pixel(60, 0) != plain.pixel(60, 0));
            other.setFocus();
            QTRY_COMPARE(shown(), plain);
            field->setEnabled(false);
            QTRY_VERIFY2(isSeen(), field->metaObject()->className());
        }
    }

    void progressIsProportional()
    {
        QProgressBar bar;
        bar.setTextVisible(false);
        bar.resize(200, 20);
        bar.setRange(0, 7200);
        for (const auto &[value, columns] : {std::pair(0, 0), {1800, 49}, {3600, 99}}) {
            bar.setValue(value);
            const QImage image = bar.grab().toImage().copy(2, 10, 194, 1);
            const int filled =
                pixelsOf(image.size(), [&](int x, int y) { return image.pixel(x, y) != image.pixel(193, 0); });
            QVERIFY2(std::abs(filled - columns) <= (value > 0 ? 2 : 0), qPrintable(QString::number(filled)));
        }
    }

    void sliderHandleFollowsThePointer()
    {
        QSlider slider(Qt::Horizontal);
        slider.setRange(-9, 10);
        slider.setTickPosition(QSlider::TicksBelow);
        slider.resize(90, 30);
        slider.setValue(-9);
        slider.show();
        const auto drag = [&](int from, int to) {
            QTest::mousePress(&slider, Qt::LeftButton, {}, {from, 10});
            QTest::mouseMove(&slider, {to, 10});
            QTest::mouseRelease(&slider, Qt::LeftButton, {}, {to, 10});
            return slider.value();
        };
        QCOMPARE(drag(5, 88), 10);
        const int middle = drag(84, 45);
        QVERIFY2(middle == 0 || middle == 1, qPrintable(QString::number(middle)));
    }

    void everyIconIsDrawn()
    {
        const QStringList files = QDir(":/icons").entryList();
        QVERIFY(files.size() > 30);
        for (const QString &file : files) {
            const QByteArray name = file.chopped(4).toLatin1();
            for (const qreal ratio : {1.0, 1.5, 2.0}) {
                const QPixmap pixmap = icon(name).pixmap(QSize(16, 16), ratio);
                const int side = qRound(16 * ratio);
                QCOMPARE(pixmap.size(), QSize(side, side));
                QVERIFY2(painted(pixmap.toImage()) > side * side / 20, name);
            }
            const QImage disabled = icon(name).pixmap(QSize(32, 32), 1, QIcon::Disabled).toImage();
            QVERIFY2(painted(disabled) > 40 && painted(disabled, 80) == 0, name);
        }
    }
};

QTEST_MAIN(WidgetsTest)
#include "widgets_test.moc"
