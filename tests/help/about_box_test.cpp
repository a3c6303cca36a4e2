#include "help/about_box.h"
#include "help/figure.h"
#include "help/help_commands.h"
#include "widgets/application_font.h"
#include "widgets/style_manager.h"

#include <QApplication>
#include <QBitmap>
#include <QCursor>
#include <QFrame>
#include <QLabel>
#include <QPushButton>
#include <QTest>
#include <QTimer>

#include <cstdlib>

namespace {

/// The middle of what is painted in the colour of the figure's muzzle.
QPoint middleOfMuzzle(const QImage &picture)
{
    // Ink where that colour is.
    const QImage muzzle = picture.createMaskFromColor(qRgb(0xf7, 0xe3, 0xcb), Qt::MaskOutColor);
    return QRegion(QBitmap::fromImage(muzzle)).boundingRect().center();
}

} // namespace

class AboutBoxTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup() { m_box.reset(); }
    void eachPictureTurnsWhereItsNumberSaysAndIsWhole();
    void everyTextIsWhole();
    void thePictureTowardsTheCursorIsDrawnAtTheScaleOfTheScreen();
    void enterAndEscapeCloseEveryTime();
    void thePageOpensByMouseAndKeyboard();

private:
    std::unique_ptr<TAboutBox> m_box;
};

void AboutBoxTest::init()
{
    QApplication::setFont(applicationFont());
    QVERIFY(TStyleManager::TrySetStyle("Smokey Quartz Kamri"));
    m_box = std::make_unique<TAboutBox>(nullptr);
    m_box->show();
    QVERIFY(QTest::qWaitForWindowActive(m_box.get()));
}

void AboutBoxTest::eachPictureTurnsWhereItsNumberSaysAndIsWhole()
{
    Figure figure;
    const QPoint front = middleOfMuzzle(figure.picture({0, 0}, 200));
    // A turn that one can see at 100 × 100: a tenth of the picture to the side, a twentieth up and down.
    const auto turnedBy = [](int distance, int side, int least) {
        return side == 0 ? std::abs(distance) < 4 : distance * side >= least;
    };
    for (int number = 1; number <= 9; ++number) {
        const Direction direction = pictureDirection(number);
        QCOMPARE(pictureNumber(direction), number);
        const QImage picture = figure.picture(direction, 200);
        const QPoint moved = middleOfMuzzle(picture) - front;
        QVERIFY(turnedBy(moved.x(), direction.right, 20) && turnedBy(moved.y(), direction.down, 10));
        // It stands on the lower edge; towards the other three there is air.
        for (int i = 0; i < 200; ++i)
            QCOMPARE(qAlpha(picture.pixel(i, 0) | picture.pixel(0, i) | picture.pixel(199, i)), 0);
        QCOMPARE(qAlpha(picture.pixel(100, 100) & picture.pixel(100, 199)), 255);
    }
}

void AboutBoxTest::everyTextIsWhole()
{
    const TAboutBox &box = *m_box;
    const std::initializer_list<const QWidget *> lines{box.ProductName, box.Version, box.Copyright,
                                                       box.Label2,      box.Label3,  box.Comments};
    for (const QWidget *line : lines) {
        const QString text = line->property("text").toString();
        const QSize least = line->fontMetrics().size(Qt::TextSingleLine, text);
        QVERIFY2(!text.isEmpty() && line->size() == line->size().expandedTo(least)
                     && box.Panel1->contentsRect().contains(line->geometry())
                     && !line->geometry().intersects(box.Image1->geometry()),
                 qPrintable(line->objectName()));
    }
}

void AboutBoxTest::thePictureTowardsTheCursorIsDrawnAtTheScaleOfTheScreen()
{
    const auto pictures = [this](bool (*matches)(const TImage *)) {
        QStringList names;
        for (const TImage *picture : m_box->findChildren<TImage *>()) {
            if (matches(picture))
                names += picture->objectName();
        }
        return names;
    };
    const auto drawn = [](const TImage *picture) { return !picture->pixmap(Qt::ReturnByValue).isNull(); };
    const auto seen = [](const TImage *picture) { return picture->isVisible(); };
    m_box = std::make_unique<TAboutBox>(nullptr);
    m_box->Timer1Timer();
    QCOMPARE(pictures(drawn), QStringList());
    m_box->show();
    QTRY_COMPARE(pictures(drawn).size(), 1);
    const QPixmap picture = m_box->findChild<TImage *>(pictures(drawn).constFirst())->pixmap(Qt::ReturnByValue);
    QCOMPARE(picture.devicePixelRatio(), m_box->devicePixelRatioF());
    QCOMPARE(picture.size(), QSize(100, 100) * m_box->devicePixelRatioF());

    // The reference is the window's corner and the picture's place in its panel, nothing between them.
    const QPoint reference = m_box->frameGeometry().topLeft() + QPoint(5, 16);
    for (const auto &[cursor, name] : {std::pair(QPoint(-1, -1), "Image1"),
                                       {{0, -1}, "Image2"},
                                       {{100, -1}, "Image3"},
                                       {{-1, 99}, "Image4"},
                                       {{0, 0}, "Image5"},
                                       {{99, 99}, "Image5"},
                                       {{100, 0}, "Image6"},
                                       {{-1, 100}, "Image7"},
                                       {{99, 100}, "Image8"},
                                       {{100, 100}, "Image9"}}) {
        QCursor::setPos(reference + cursor);
        QTRY_COMPARE(pictures(seen), QStringList{name});
    }
}

void AboutBoxTest::enterAndEscapeCloseEveryTime()
{
    // The box lives on after it is closed.
    for (const Qt::Key key : {Qt::Key_Return, Qt::Key_Escape, Qt::Key_Return}) {
        m_box->hide();
        QTimer::singleShot(0, m_box.get(), [&] { QTest::keyClick(m_box.get(), key); });
        QCOMPARE(m_box->exec(), key == Qt::Key_Escape ? QDialog::Rejected : QDialog::Accepted);
    }
}

void AboutBoxTest::thePageOpensByMouseAndKeyboard()
{
    QStringList opened;
    setShellOpenAnswer([&](const QString &address) { opened += address; });
    QTest::mouseClick(m_box->Comments, Qt::LeftButton);
    QTest::mouseClick(m_box->Comments, Qt::RightButton);
    QCOMPARE(opened, QStringList{productPageAddress()});
    QTest::keyClick(m_box->Comments, Qt::Key_Return);
    QTest::keyClick(m_box->Comments, Qt::Key_Space);
    QCOMPARE(opened.size(), 3);
    QVERIFY(m_box->isVisible());
    setShellOpenAnswer({});
}

QTEST_MAIN(AboutBoxTest)
#include "about_box_test.moc"
