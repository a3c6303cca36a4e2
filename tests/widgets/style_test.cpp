#include "widgets/application_font.h"
#include "widgets/message_box.h"
#include "widgets/smoky_style.h"
#include "widgets/style_manager.h"

#include <QApplication>
#include <QComboBox>
#include <QGroupBox>
#include <QLineEdit>
#include <QListWidget>
#include <QProgressBar>
#include <QPushButton>
#include <QSlider>
#include <QStyleOptionButton>
#include <QStyleOptionGroupBox>
#include <QTableWidget>
#include <QTest>

#include <algorithm>
#include <cmath>
#include <functional>

class StyleTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void unknownStyleChangesNothing();
    void knownStyleSetsItsColours();
    void textsStandOutFromTheirGround_data();
    void textsStandOutFromTheirGround();
    void focusAndDisabledAreSeen_data();
    void focusAndDisabledAreSeen();
    void gridWithTheFocusShowsItOnItsFrame();
    void captionsFitTheirControls_data();
    void captionsFitTheirControls();
    void progressIsProportional();
    void sliderHandleFollowsThePointer();
};

namespace {

const QString smoky = QStringLiteral("Smokey Quartz Kamri");

double channel(double value)
{
    return value <= 0.03928 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
}

double luminance(const QColor &color)
{
    return 0.2126 * channel(color.redF()) + 0.7152 * channel(color.greenF()) + 0.0722 * channel(color.blueF());
}

// The contrast ratio of the web's accessibility guidelines, 1 .. 21.
double contrast(const QColor &one, const QColor &other)
{
    const double a = luminance(one);
    const double b = luminance(other);
    return (std::max(a, b) + 0.05) / (std::min(a, b) + 0.05);
}

using Maker = std::function<QWidget *(QWidget *)>;

std::vector<std::pair<const char *, Maker>> fields()
{
    return {
        {"button", [](QWidget *owner) { return new QPushButton("Начало", owner); }},
        {"edit", [](QWidget *owner) { return new QLineEdit("12.34", owner); }},
        {"list", [](QWidget *owner) { return new QListWidget(owner); }},
        {"grid", [](QWidget *owner) { return new QTableWidget(2, 2, owner); }},
        {"combo box", [](QWidget *owner) { return new QComboBox(owner); }},
        {"track bar", [](QWidget *owner) { return new QSlider(Qt::Horizontal, owner); }},
    };
}

int differingPixels(const QImage &one, const QImage &other)
{
    int count = 0;
    for (int y = 0; y < one.height(); ++y) {
        for (int x = 0; x < one.width(); ++x) {
            if (one.pixel(x, y) != other.pixel(x, y))
                ++count;
        }
    }
    return count;
}

} // namespace

void StyleTest::initTestCase()
{
    QVERIFY(TStyleManager::TrySetStyle(smoky));
    QApplication::setFont(applicationFont());
}

void StyleTest::unknownStyleChangesNothing()
{
    QStringList told;
    setMessageBoxAnswer([&](const QString &text) { told += text; });
    QStyle *const before = QApplication::style();
    QVERIFY(!TStyleManager::TrySetStyle("Небывалый", false));
    QCOMPARE(told, QStringList());
    QVERIFY(!TStyleManager::TrySetStyle("Небывалый", true));
    QCOMPARE(told.size(), 1);
    QVERIFY(told.constFirst().contains("Небывалый"));
    QCOMPARE(QApplication::style(), before);
    setMessageBoxAnswer({});
}

void StyleTest::knownStyleSetsItsColours()
{
    // As a desktop's theme would have set it.
    QPalette desktop;
    desktop.setColor(QPalette::Window, Qt::white);
    QApplication::setPalette(desktop);
    QVERIFY(TStyleManager::TrySetStyle(smoky));
    QVERIFY(qobject_cast<SmokyStyle *>(QApplication::style()) != nullptr);
    QVERIFY(luminance(QApplication::palette().color(QPalette::Window)) < 0.05);
}

void StyleTest::textsStandOutFromTheirGround_data()
{
    QTest::addColumn<QPalette::ColorRole>("text");
    QTest::addColumn<QPalette::ColorRole>("ground");
    QTest::addColumn<double>("least");
    QTest::newRow("label") << QPalette::WindowText << QPalette::Window << 7.0;
    QTest::newRow("field") << QPalette::Text << QPalette::Base << 7.0;
    QTest::newRow("field, other row") << QPalette::Text << QPalette::AlternateBase << 7.0;
    QTest::newRow("button") << QPalette::ButtonText << QPalette::Button << 7.0;
    QTest::newRow("selection") << QPalette::HighlightedText << QPalette::Highlight << 4.5;
    QTest::newRow("tool tip") << QPalette::ToolTipText << QPalette::ToolTipBase << 7.0;
    QTest::newRow("placeholder") << QPalette::PlaceholderText << QPalette::Base << 4.5;
    QTest::newRow("focus ring") << QPalette::Link << QPalette::Window << 4.5;
    QTest::newRow("selected row") << QPalette::Highlight << QPalette::Base << 2.0;
}

void StyleTest::textsStandOutFromTheirGround()
{
    QFETCH(QPalette::ColorRole, text);
    QFETCH(QPalette::ColorRole, ground);
    QFETCH(double, least);
    const QPalette palette = SmokyStyle().standardPalette();
    const double active = contrast(palette.color(QPalette::Active, text), palette.color(QPalette::Active, ground));
    QVERIFY2(active >= least, qPrintable(QString::number(active)));
    const double disabled =
        contrast(palette.color(QPalette::Disabled, text), palette.color(QPalette::Disabled, ground));
    QVERIFY2(text == QPalette::ToolTipText || disabled < active * 0.75, qPrintable(QString::number(disabled)));
}

void StyleTest::focusAndDisabledAreSeen_data()
{
    QTest::addColumn<int>("index");
    const auto all = fields();
    for (std::size_t index = 0; index < all.size(); ++index)
        QTest::newRow(all[index].first) << static_cast<int>(index);
}

void StyleTest::focusAndDisabledAreSeen()
{
    QFETCH(int, index);
    QWidget window;
    window.resize(300, 200);
    QPushButton other(&window);
    QWidget *const field = fields()[static_cast<std::size_t>(index)].second(&window);
    field->setGeometry(40, 40, 120, 60);
    window.show();
    QApplication::setActiveWindow(&window);
    QVERIFY(QTest::qWaitForWindowActive(&window));
    other.setFocus();
    const QImage plain = field->grab().toImage();
    field->setFocus();
    QVERIFY(field->hasFocus());
    const QImage focused = field->grab().toImage();
    QVERIFY(differingPixels(plain, focused) > 60);
    other.setFocus();
    field->setEnabled(false);
    QVERIFY(differingPixels(plain, field->grab().toImage()) > 60);
}

void StyleTest::gridWithTheFocusShowsItOnItsFrame()
{
    QWidget window;
    window.resize(300, 200);
    QPushButton other(&window);
    QTableWidget grid(2, 2, &window);
    grid.setGeometry(40, 40, 120, 100);
    window.show();
    QApplication::setActiveWindow(&window);
    QVERIFY(QTest::qWaitForWindowActive(&window));
    other.setFocus();
    QTest::qWait(20);
    // What is really on the window, not what a fresh grab would paint.
    const QPoint onFrame(100, 40);
    const auto shown = [&] { return window.screen()->grabWindow(window.winId()).toImage().pixel(onFrame); };
    const QRgb plain = shown();
    grid.setFocus();
    QTRY_VERIFY(shown() != plain);
    other.setFocus();
    QTRY_COMPARE(shown(), plain);
}

void StyleTest::captionsFitTheirControls_data()
{
    QTest::addColumn<QString>("caption");
    QTest::addColumn<bool>("isGroup");
    QTest::addColumn<int>("width");
    for (const char *caption : {"Начало", "Конец", "< 1 мин", "< 1 сек", "< 1 кадр", ">", "[]", "1 кадр >", "1 сек >",
                                "1 мин >"})
        QTest::newRow(caption) << caption << false << 60;
    QTest::newRow("Перемотать") << "Перемотать" << false << 70;
    for (const char *caption : {"Скорость", "Скорость: 0,1", "Скорость: 5,5", "Громкость", "Громкость: 100%"})
        QTest::newRow(caption) << caption << true << 100;
    QTest::newRow("Выделение сцены") << "Выделение сцены" << true << 138;
}

void StyleTest::captionsFitTheirControls()
{
    QFETCH(QString, caption);
    QFETCH(bool, isGroup);
    QFETCH(int, width);
    const QFontMetrics metrics(applicationFont());
    const SmokyStyle style;
    int room = 0;
    if (isGroup) {
        QStyleOptionGroupBox box;
        box.rect = QRect(0, 0, width, 58);
        box.text = caption;
        box.fontMetrics = metrics;
        room = style.subControlRect(QStyle::CC_GroupBox, &box, QStyle::SC_GroupBoxLabel, nullptr).width();
    } else {
        QStyleOptionButton button;
        button.rect = QRect(0, 0, width, 29);
        button.fontMetrics = metrics;
        room = style.subElementRect(QStyle::SE_PushButtonContents, &button, nullptr).width();
    }
    QVERIFY2(metrics.horizontalAdvance(caption) <= room, qPrintable(QFontInfo(applicationFont()).family()));
}

void StyleTest::progressIsProportional()
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
    bar.setValue(0);
    QCOMPARE(filledColumns(), 0);
    bar.setValue(1800);
    QVERIFY2(std::abs(filledColumns() - 49) <= 2, qPrintable(QString::number(filledColumns())));
    bar.setValue(3600);
    QVERIFY2(std::abs(filledColumns() - 99) <= 2, qPrintable(QString::number(filledColumns())));
}

void StyleTest::sliderHandleFollowsThePointer()
{
    QSlider slider(Qt::Horizontal);
    slider.setRange(-9, 10);
    slider.setTickPosition(QSlider::TicksBelow);
    slider.resize(90, 30);
    slider.setValue(-9);
    slider.show();
    QTest::mousePress(&slider, Qt::LeftButton, {}, QPoint(5, 10));
    QTest::mouseMove(&slider, QPoint(88, 10));
    QTest::mouseRelease(&slider, Qt::LeftButton, {}, QPoint(88, 10));
    QCOMPARE(slider.value(), 10);
    QTest::mousePress(&slider, Qt::LeftButton, {}, QPoint(84, 10));
    QTest::mouseMove(&slider, QPoint(45, 10));
    QTest::mouseRelease(&slider, Qt::LeftButton, {}, QPoint(45, 10));
    QVERIFY2(slider.value() == 0 || slider.value() == 1, qPrintable(QString::number(slider.value())));
}

QTEST_MAIN(StyleTest)
#include "style_test.moc"
