#include "help/about_box.h"
#include "help/direction.h"
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
    void init()
    {
        QApplication::setFont(applicationFont());
        QVERIFY(TStyleManager::TrySetStyle("Smokey Quartz Kamri"));
        m_box = std::make_unique<TAboutBox>(nullptr);
        m_box->show();
        QVERIFY(QTest::qWaitForWindowActive(m_box.get()));
    }
    void cleanup() { m_box.reset(); }

    void eachPictureTurnsWhereItsNumberSays()
    {
        const auto pictureOf = [](int number) { return QImage(QString(":/about/figure-%1.png").arg(number)); };
        const QPoint front = middleOfMuzzle(pictureOf(5));
        const auto turned = [](int distance, int side, int least) {
            return side == 0 ? std::abs(distance) < 4 : distance * side >= least;
        };
        for (int number = 1; number <= 9; ++number) {
            const Direction direction{(number - 1) % 3 - 1, (number - 1) / 3 - 1};
            QCOMPARE(pictureNumber(direction), number);
            // What one can see: a tenth of the picture to the side, a twentieth up and down.
            const QPoint moved = middleOfMuzzle(pictureOf(number)) - front;
            QVERIFY(turned(moved.x(), direction.right, 20) && turned(moved.y(), direction.down, 10));
        }
    }

    void onlyThePictureTowardsTheCursorIsSeen()
    {
        const auto images = m_box->findChildren<TImage *>();
        // The reference is the window's corner and the picture's place in its panel, nothing between them.
        const QPoint reference = m_box->frameGeometry().topLeft() + QPoint(5, 16);
        const std::pair<QPoint, int> cursors[] = {{{-1, -1}, 1},  {{0, -1}, 2},   {{100, -1}, 3}, {{-1, 99}, 4},
                                                  {{0, 0}, 5},    {{99, 99}, 5},  {{100, 0}, 6},  {{-1, 100}, 7},
                                                  {{99, 100}, 8}, {{100, 100}, 9}};
        const auto seen = [&] {
            QStringList names;
            for (const TImage *image : images)
                names += image->isVisible() ? image->objectName() : QString();
            return names.join("");
        };
        for (const auto &[cursor, number] : cursors) {
            QCursor::setPos(reference + cursor);
            QTRY_COMPARE(seen(), QString("Image%1").arg(number));
        }
    }

    void mouseAndKeysOpenThePageAndCloseTheBox()
    {
        QStringList opened;
        setShellOpenAnswer([&](const QString &address) { opened += address; });
        QTest::mouseClick(m_box->Comments, Qt::LeftButton);
        QTest::mouseClick(m_box->Comments, Qt::RightButton);
        QCOMPARE(opened, QStringList{productPageAddress()});
        QTest::keyClick(m_box->Comments, Qt::Key_Return);
        QTest::keyClick(m_box->Comments, Qt::Key_Space);
        setShellOpenAnswer({});
        QVERIFY(opened.size() == 3 && m_box->isVisible());
        // The box lives on after it is closed.
        for (const Qt::Key key : {Qt::Key_Return, Qt::Key_Escape, Qt::Key_Return}) {
            m_box->hide();
            m_box->OKButton->setFocus();
            QTimer::singleShot(0, m_box.get(), [&] { QTest::keyClick(m_box.get(), key); });
            QCOMPARE(m_box->exec(), key == Qt::Key_Escape ? QDialog::Rejected : QDialog::Accepted);
        }
    }

private:
    std::unique_ptr<TAboutBox> m_box;
};

QTEST_MAIN(AboutBoxTest)
#include "about_box_test.moc"
