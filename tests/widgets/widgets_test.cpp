#include "widgets/icons.h"
#include "widgets/message_box.h"
#include "widgets/smoky_style.h"
#include "widgets/style_manager.h"

#include <QApplication>
#include <QComboBox>
#include <QDirIterator>
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
#include <utility>

class WidgetsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void knownStyleSetsItsColours();
    void unknownStyleChangesNothing();
    void textsStandOutFromTheirGround();
    void focusAndDisabledAreSeen();
    void progressIsProportional();
    void sliderHandleFollowsThePointer();
    void everyIconIsDrawn();
};

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
    const double a = luminance(one);
    const double b = luminance(other);
    return (std::max(a, b) + 0.05) / (std::min(a, b) + 0.05);
}

int differingPixels(const QImage &one, const QImage &other)
{
    int count = 0;
    for (int y = 0; y < one.height(); ++y) {
        for (int x = 0; x < one.width(); ++x)
            count += one.pixel(x, y) != other.pixel(x, y);
    }
    return count;
}

/// How many pixels are painted; those with a colour, or all.
int painted(const QImage &image, int leastSaturation = 0)
{
    int count = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const QColor color = image.pixelColor(x, y);
            count += color.alpha() > 64 && color.saturation() >= leastSaturation;
        }
    }
    return count;
}

} // namespace

void WidgetsTest::knownStyleSetsItsColours()
{
    // As a desktop's theme would have set it.
    QPalette desktop;
    desktop.setColor(QPalette::Window, Qt::white);
    QApplication::setPalette(desktop);
    QVERIFY(TStyleManager::TrySetStyle(QStringLiteral("Smokey Quartz Kamri")));
    QVERIFY(qobject_cast<SmokyStyle *>(QApplication::style()) != nullptr);
    QVERIFY(luminance(QApplication::palette().color(QPalette::Window)) < 0.05);
}

void WidgetsTest::unknownStyleChangesNothing()
{
    QStringList told;
    setMessageBoxAnswer([&](const QString &text) { told += text; });
    QStyle *const before = QApplication::style();
    QVERIFY(!TStyleManager::TrySetStyle("Небывалый", false));
    QCOMPARE(told, QStringList());
    QVERIFY(!TStyleManager::TrySetStyle("Небывалый", true));
    QCOMPARE(told.filter("Небывалый").size(), 1);
    QCOMPARE(QApplication::style(), before);
    setMessageBoxAnswer({});
}

void WidgetsTest::textsStandOutFromTheirGround()
{
    const struct {
        QPalette::ColorRole text;
        QPalette::ColorRole ground;
        double least;
    } cases[] = {
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
        const double active = contrast(palette.color(QPalette::Active, text), palette.color(QPalette::Active, ground));
        const double disabled =
            contrast(palette.color(QPalette::Disabled, text), palette.color(QPalette::Disabled, ground));
        QVERIFY2(active >= least && (text == QPalette::ToolTipText || disabled < active * 0.75),
                 qPrintable(QStringLiteral("role %1: %2, disabled %3").arg(text).arg(active).arg(disabled)));
    }
}

void WidgetsTest::focusAndDisabledAreSeen()
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
        QTest::qWait(20);
        const QImage plain = shown();
        field->setFocus();
        QTRY_VERIFY2(differingPixels(plain, shown()) > 60, field->metaObject()->className());
        // A field with cells shows it on its frame as well.
        QVERIFY(!qobject_cast<QAbstractItemView *>(field) || shown().pixel(60, 0) != plain.pixel(60, 0));
        other.setFocus();
        QTRY_COMPARE(shown(), plain);
        field->setEnabled(false);
        QTRY_VERIFY2(differingPixels(plain, shown()) > 60, field->metaObject()->className());
    }
}

void WidgetsTest::progressIsProportional()
{
    QProgressBar bar;
    bar.setTextVisible(false);
    bar.resize(200, 20);
    bar.setRange(0, 7200);
    const auto filledColumns = [&] {
        const QImage image = bar.grab().toImage();
        const QRgb ground = image.pixel(196, 10);
        int columns = 0;
        for (int x = 2; x < 196; ++x)
            columns += image.pixel(x, 10) != ground ? 1 : 0;
        return columns;
    };
    for (const auto &[value, columns] : {std::pair(0, 0), {1800, 49}, {3600, 99}}) {
        bar.setValue(value);
        const int off = std::abs(filledColumns() - columns);
        QVERIFY2(off <= (value > 0 ? 2 : 0), qPrintable(QString::number(off)));
    }
}

void WidgetsTest::sliderHandleFollowsThePointer()
{
    QSlider slider(Qt::Horizontal);
    slider.setRange(-9, 10);
    slider.setTickPosition(QSlider::TicksBelow);
    slider.resize(90, 30);
    slider.setValue(-9);
    slider.show();
    const auto drag = [&](QPoint from, QPoint to) {
        QTest::mousePress(&slider, Qt::LeftButton, {}, from);
        QTest::mouseMove(&slider, to);
        QTest::mouseRelease(&slider, Qt::LeftButton, {}, to);
        return slider.value();
    };
    QCOMPARE(drag({5, 10}, {88, 10}), 10);
    const int middle = drag({84, 10}, {45, 10});
    QVERIFY2(middle == 0 || middle == 1, qPrintable(QString::number(middle)));
}

void WidgetsTest::everyIconIsDrawn()
{
    // The files are there from the first use.
    QCOMPARE(painted(icon("no such icon").pixmap(16, 16).toImage()), 0);
    QDirIterator files(":/icons", {"*.svg"});
    int count = 0;
    for (; files.hasNext(); ++count) {
        const QByteArray name = QFileInfo(files.next()).completeBaseName().toLatin1();
        const QIcon drawn = icon(name);
        for (const qreal ratio : {1.0, 1.5, 2.0}) {
            const QPixmap pixmap = drawn.pixmap(QSize(16, 16), ratio);
            const int side = qRound(16 * ratio);
            QCOMPARE(pixmap.size(), QSize(side, side));
            QVERIFY2(painted(pixmap.toImage()) > side * side / 20, name);
        }
        const QImage disabled = drawn.pixmap(QSize(32, 32), 1, QIcon::Disabled).toImage();
        QVERIFY2(painted(disabled) > 40 && painted(disabled, 80) == 0, name);
    }
    QVERIFY(count > 30);
}

QTEST_MAIN(WidgetsTest)
#include "widgets_test.moc"
