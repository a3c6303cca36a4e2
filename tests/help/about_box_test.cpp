#include "help/about_box.h"
#include "help/figure.h"
#include "help/help_commands.h"
#include "widgets/application_font.h"
#include "widgets/style_manager.h"

#include <QAccessible>
#include <QApplication>
#include <QCursor>
#include <QFrame>
#include <QPushButton>
#include <QRegularExpression>
#include <QTest>
#include <QTimer>

#include <cmath>

class AboutBoxTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();
    void edgesOfTheFigureBelongToTheCellTheyShould();
    void eachPictureTurnsWhereItsNumberSays();
    void nothingOfTheFigureIsCutOff();
    void everyTextIsWhole();
    void onlyTheShownPictureIsDrawnAtTheScaleOfTheScreen();
    void theFigureLooksAtTheCursor();
    void okAndEnterAndEscapeCloseEveryTime();
    void thePageOpensByMouseKeyboardAndScreenReader();

private:
    /// The pictures that `matches` is true for.
    QList<TImage *> pictures(bool (*matches)(const TImage *)) const;
    void show();

    std::unique_ptr<TAboutBox> m_box;
};

namespace {

/// The middle of what is painted in the colour of the figure's muzzle.
QPointF middleOfMuzzle(const QImage &picture)
{
    const QColor muzzle(0xf7, 0xe3, 0xcb);
    QPointF sum;
    int count = 0;
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x) {
            if (picture.pixelColor(x, y) == muzzle) {
                sum += QPointF(x, y);
                ++count;
            }
        }
    }
    return count == 0 ? QPointF(qQNaN(), qQNaN()) : sum / count;
}

} // namespace

void AboutBoxTest::initTestCase()
{
    QApplication::setFont(applicationFont());
    QVERIFY(TStyleManager::TrySetStyle(QStringLiteral("Smokey Quartz Kamri")));
}

void AboutBoxTest::init()
{
    m_box = std::make_unique<TAboutBox>(nullptr);
}

void AboutBoxTest::cleanup()
{
    setShellOpenAnswer({});
    m_box.reset();
    QVERIFY(!AboutBox);
}

QList<TImage *> AboutBoxTest::pictures(bool (*matches)(const TImage *)) const
{
    QList<TImage *> found = m_box->findChildren<TImage *>();
    found.removeIf([=](const TImage *picture) { return !matches(picture); });
    return found;
}

void AboutBoxTest::show()
{
    m_box->show();
    QVERIFY(QTest::qWaitForWindowActive(m_box.get()));
}

void AboutBoxTest::edgesOfTheFigureBelongToTheCellTheyShould()
{
    const QRect reference(10, 20, 100, 50);
    // A column or row of cells begins at its left or upper edge.
    const std::pair<int, int> columns[] = {{-500, -1}, {9, -1}, {10, 0}, {109, 0}, {110, 1}, {900, 1}};
    const std::pair<int, int> rows[] = {{-500, -1}, {19, -1}, {20, 0}, {69, 0}, {70, 1}, {900, 1}};
    for (const auto &[x, right] : columns) {
        for (const auto &[y, down] : rows) {
            const Direction direction = directionTo({x, y}, reference);
            QCOMPARE(direction, (Direction{right, down}));
            QCOMPARE(pictureNumber(direction), 5 + right + 3 * down);
            QCOMPARE(pictureDirection(pictureNumber(direction)), direction);
        }
    }
}

void AboutBoxTest::eachPictureTurnsWhereItsNumberSays()
{
    Figure figure;
    const QPointF front = middleOfMuzzle(figure.picture({0, 0}, 200));
    QVERIFY(!std::isnan(front.x()));
    // A turn that one can see at 100 × 100: a tenth of the picture to the side, a twentieth up and down.
    for (int number = 1; number <= 9; ++number) {
        const Direction direction = pictureDirection(number);
        const QPointF moved = middleOfMuzzle(figure.picture(direction, 200)) - front;
        const auto turnedBy = [](double distance, int side, double least) {
            return side == 0 ? std::abs(distance) < 4 : distance * side >= least;
        };
        QVERIFY2(turnedBy(moved.x(), direction.right, 20) && turnedBy(moved.y(), direction.down, 10),
                 qPrintable(QStringLiteral("picture %1 moves by %2, %3").arg(number).arg(moved.x()).arg(moved.y())));
    }
}

void AboutBoxTest::nothingOfTheFigureIsCutOff()
{
    // It stands on the lower edge; towards the other three there is air, and the ground is transparent.
    Figure figure;
    for (int number = 1; number <= 9; ++number) {
        const QImage picture = figure.picture(pictureDirection(number), 100);
        for (int i = 0; i < 100; ++i) {
            QCOMPARE(qAlpha(picture.pixel(i, 0)), 0);
            QCOMPARE(qAlpha(picture.pixel(0, i)), 0);
            QCOMPARE(qAlpha(picture.pixel(99, i)), 0);
        }
        QCOMPARE(qAlpha(picture.pixel(50, 50)), 255);
        QCOMPARE(qAlpha(picture.pixel(50, 99)), 255);
    }
}

void AboutBoxTest::everyTextIsWhole()
{
    show();
    const auto lines = m_box->Panel1->findChildren<QLabel *>(QRegularExpression("^(?!Image)"));
    QCOMPARE(lines.size(), 6);
    for (const QLabel *line : lines) {
        QVERIFY2(!line->text().isEmpty() && line->sizeHint().width() <= line->width() &&
                     line->sizeHint().height() <= line->height() &&
                     m_box->Panel1->contentsRect().contains(line->geometry()) &&
                     !line->geometry().intersects(m_box->Image1->geometry()),
                 qPrintable(line->objectName()));
    }
}

void AboutBoxTest::onlyTheShownPictureIsDrawnAtTheScaleOfTheScreen()
{
    const auto drawn = [this] {
        return pictures([](const TImage *picture) { return !picture->pixmap(Qt::ReturnByValue).isNull(); });
    };
    m_box->Timer1Timer();
    QVERIFY(drawn().isEmpty());
    show();
    QTRY_COMPARE(drawn().size(), 1);
    const QPixmap picture = drawn().constFirst()->pixmap(Qt::ReturnByValue);
    QCOMPARE(picture.devicePixelRatio(), m_box->devicePixelRatioF());
    QCOMPARE(picture.size(), QSize(100, 100) * m_box->devicePixelRatioF());
}

void AboutBoxTest::theFigureLooksAtTheCursor()
{
    show();
    // The reference is the window's corner and the picture's place in its panel, nothing between them.
    const QPoint reference = m_box->frameGeometry().topLeft() + QPoint(5, 16);
    for (const auto &[cursor, name] : {std::pair(QPoint(-1, -1), "Image1"), {{0, 0}, "Image5"}, {{99, 99}, "Image5"},
                                       {{100, 0}, "Image6"}, {{0, 100}, "Image8"}}) {
        QCursor::setPos(reference + cursor);
        const auto seen = [this] { return pictures([](const TImage *picture) { return picture->isVisible(); }); };
        QTRY_VERIFY2_WITH_TIMEOUT(seen().size() == 1 && seen().constFirst()->objectName() == name, name, 1000);
    }
}

void AboutBoxTest::okAndEnterAndEscapeCloseEveryTime()
{
    // The box lives on after it is closed.
    for (const Qt::Key key : {Qt::Key_unknown, Qt::Key_Return, Qt::Key_Escape}) {
        QTimer::singleShot(0, m_box.get(), [&] {
            QVERIFY(QTest::qWaitForWindowActive(m_box.get()));
            QVERIFY(m_box->isModal());
            if (key == Qt::Key_unknown)
                QTest::mouseClick(m_box->OKButton, Qt::LeftButton);
            else
                QTest::keyClick(QApplication::focusWidget(), key);
        });
        QCOMPARE(m_box->exec(), key == Qt::Key_Escape ? QDialog::Rejected : QDialog::Accepted);
        QVERIFY(m_box->isHidden());
    }
}

void AboutBoxTest::thePageOpensByMouseKeyboardAndScreenReader()
{
    QStringList opened;
    setShellOpenAnswer([&](const QString &address) { opened += address; });
    show();
    QTest::mouseClick(m_box->Comments, Qt::LeftButton);
    QTest::mouseClick(m_box->Comments, Qt::RightButton);
    QCOMPARE(opened, QStringList{productPageAddress()});

    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
    QCOMPARE(QApplication::focusWidget(), m_box->Comments);
    QTest::keyClick(m_box->Comments, Qt::Key_Return);
    QTest::keyClick(m_box->Comments, Qt::Key_Space);
    QCOMPARE(opened.size(), 3);
    QVERIFY(m_box->isVisible());

    QAccessibleInterface *spoken = QAccessible::queryAccessibleInterface(m_box->Comments);
    QVERIFY(spoken && spoken->actionInterface());
    QCOMPARE(spoken->role(), QAccessible::Link);
    QCOMPARE(spoken->text(QAccessible::Name), productPageAddress());
    spoken->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
    QCOMPARE(opened.size(), 4);
}

QTEST_MAIN(AboutBoxTest)
#include "about_box_test.moc"
