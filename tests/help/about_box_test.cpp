#include "help/about_box.h"
#include "help/help_commands.h"
#include "widgets/application_font.h"
#include "widgets/style_manager.h"

#include <QAccessible>
#include <QApplication>
#include <QCursor>
#include <QElapsedTimer>
#include <QFrame>
#include <QPushButton>
#include <QTest>
#include <QTimer>
#include <QWindow>

class AboutBoxTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();
    void everyTextIsWholeAndAsItShouldBe();
    void nothingIsDrawnBeforeTheBoxIsSeen();
    void theFigureLooksAtTheCursor_data();
    void theFigureLooksAtTheCursor();
    void picturesAreDrawnAtTheScaleOfTheScreen();
    void okAndEnterAndEscapeClose_data();
    void okAndEnterAndEscapeClose();
    void theBoxStandsOverTheMainWindowEveryTime();
    void thePageOpensByMouseKeyboardAndScreenReader();
    void thePointerShowsThatThePageCanBePressed();

private:
    [[nodiscard]] QList<TImage *> pictures() const;
    [[nodiscard]] QList<int> visiblePictures() const;
    void show();

    std::unique_ptr<QWidget> m_owner;
    TAboutBox *m_box = nullptr;
    QStringList m_opened;
};

void AboutBoxTest::initTestCase()
{
    QApplication::setFont(applicationFont());
    QVERIFY(TStyleManager::TrySetStyle(QStringLiteral("Smokey Quartz Kamri")));
}

void AboutBoxTest::init()
{
    m_owner = std::make_unique<QWidget>();
    m_owner->setGeometry(0, 0, 380, 280);
    m_owner->show();
    m_box = new TAboutBox(m_owner.get());
    m_opened.clear();
    setShellOpenAnswer([this](const QString &address) { m_opened += address; });
}

void AboutBoxTest::cleanup()
{
    setShellOpenAnswer({});
    m_owner.reset();
    QVERIFY(!AboutBox);
}

QList<TImage *> AboutBoxTest::pictures() const
{
    return {m_box->Image1, m_box->Image2, m_box->Image3, m_box->Image4, m_box->Image5,
            m_box->Image6, m_box->Image7, m_box->Image8, m_box->Image9};
}

QList<int> AboutBoxTest::visiblePictures() const
{
    QList<int> visible;
    for (int number = 1; const TImage *picture : pictures()) {
        if (picture->isVisible())
            visible += number;
        ++number;
    }
    return visible;
}

void AboutBoxTest::show()
{
    m_box->show();
    QVERIFY(QTest::qWaitForWindowActive(m_box));
}

void AboutBoxTest::everyTextIsWholeAndAsItShouldBe()
{
    show();
    QCOMPARE(AboutBox, m_box);
    QCOMPARE(m_box->windowTitle(), QStringLiteral("О программе"));
    QCOMPARE(m_box->size(), QSize(301, 242));
    QCOMPARE(m_box->maximumSize(), QSize(301, 242));
    QCOMPARE(m_box->ProductName->text(), QStringLiteral("\"Таврин\""));
    QCOMPARE(m_box->Version->text(), QStringLiteral("Версия 1.0"));
    QCOMPARE(m_box->Label2->text(), QStringLiteral("Входит в пакет программ"));
    QCOMPARE(m_box->Label3->text(), QStringLiteral("\"Ларец\""));
    QCOMPARE(m_box->Comments->text(), productPageAddress());
    QVERIFY(!m_box->Copyright->text().isEmpty());
    QCOMPARE(m_box->OKButton->text(), QStringLiteral("OK"));

    const QList<QLabel *> lines{m_box->ProductName, m_box->Version, m_box->Label2,
                                m_box->Label3,      m_box->Copyright, m_box->Comments};
    for (const QLabel *line : lines) {
        QVERIFY2(line->sizeHint().width() <= line->width() && line->sizeHint().height() <= line->height(),
                 qPrintable(line->objectName()));
        QVERIFY2(m_box->Panel1->contentsRect().contains(line->geometry()), qPrintable(line->objectName()));
        QVERIFY2(!line->geometry().intersects(m_box->Image1->geometry()), qPrintable(line->objectName()));
    }
    for (const TImage *picture : pictures()) {
        QCOMPARE(picture->geometry(), QRect(5, 16, 100, 100));
        QCOMPARE(picture->parentWidget(), m_box->Panel1);
    }
}

void AboutBoxTest::nothingIsDrawnBeforeTheBoxIsSeen()
{
    QVERIFY(m_box->Timer1->isActive());
    QCOMPARE(m_box->Timer1->interval(), 100);
    m_box->Timer1Timer();
    for (const TImage *picture : pictures())
        QVERIFY(picture->pixmap(Qt::ReturnByValue).isNull());
    show();
    QTRY_COMPARE(visiblePictures().size(), 1);
    int drawn = 0;
    for (const TImage *picture : pictures())
        drawn += !picture->pixmap(Qt::ReturnByValue).isNull();
    QCOMPARE(drawn, 1);
}

void AboutBoxTest::theFigureLooksAtTheCursor_data()
{
    QTest::addColumn<QPoint>("cursor"); // from the reference rectangle's top left corner
    QTest::addColumn<int>("picture");
    QTest::newRow("1") << QPoint(-1, -1) << 1;
    QTest::newRow("2") << QPoint(0, -1) << 2;
    QTest::newRow("3") << QPoint(100, -1) << 3;
    QTest::newRow("4") << QPoint(-1, 0) << 4;
    QTest::newRow("5") << QPoint(0, 0) << 5;
    QTest::newRow("5, far corner") << QPoint(99, 99) << 5;
    QTest::newRow("6") << QPoint(100, 99) << 6;
    QTest::newRow("7") << QPoint(-1, 100) << 7;
    QTest::newRow("8") << QPoint(99, 100) << 8;
    QTest::newRow("9") << QPoint(100, 100) << 9;
}

void AboutBoxTest::theFigureLooksAtTheCursor()
{
    QFETCH(QPoint, cursor);
    QFETCH(int, picture);
    show();
    // The reference is the window's corner and the picture's place in its panel, nothing between them.
    QCursor::setPos(m_box->frameGeometry().topLeft() + QPoint(5, 16) + cursor);
    QTRY_COMPARE_WITH_TIMEOUT(visiblePictures(), QList<int>{picture}, 1000);
}

void AboutBoxTest::picturesAreDrawnAtTheScaleOfTheScreen()
{
    show();
    const qreal scale = m_box->devicePixelRatioF();
    QTRY_COMPARE(visiblePictures().size(), 1);
    const QPixmap drawn = pictures().at(visiblePictures().constFirst() - 1)->pixmap(Qt::ReturnByValue);
    QCOMPARE(drawn.devicePixelRatio(), scale);
    QCOMPARE(drawn.size(), QSize(100, 100) * scale);
}

void AboutBoxTest::okAndEnterAndEscapeClose_data()
{
    QTest::addColumn<int>("key");
    QTest::addColumn<int>("result");
    QTest::newRow("a click on OK") << 0 << static_cast<int>(QDialog::Accepted);
    QTest::newRow("Enter") << static_cast<int>(Qt::Key_Return) << static_cast<int>(QDialog::Accepted);
    QTest::newRow("Escape") << static_cast<int>(Qt::Key_Escape) << static_cast<int>(QDialog::Rejected);
}

void AboutBoxTest::okAndEnterAndEscapeClose()
{
    QFETCH(int, key);
    QFETCH(int, result);
    // Twice: the box lives on after it is closed.
    for (int time = 0; time < 2; ++time) {
        QTimer::singleShot(0, m_box, [&] {
            QVERIFY(QTest::qWaitForWindowActive(m_box));
            QVERIFY(m_box->isModal());
            if (key == 0)
                QTest::mouseClick(m_box->OKButton, Qt::LeftButton);
            else
                QTest::keyClick(QApplication::focusWidget(), static_cast<Qt::Key>(key));
        });
        QCOMPARE(m_box->exec(), result);
        QVERIFY(m_box->isHidden());
    }
}

void AboutBoxTest::theBoxStandsOverTheMainWindowEveryTime()
{
    for (const QPoint place : {QPoint(0, 0), QPoint(15, 5)}) {
        m_owner->move(place);
        show();
        const QPoint off = m_box->frameGeometry().center() - m_owner->frameGeometry().center();
        QVERIFY2(off.manhattanLength() <= 40, qPrintable(QStringLiteral("%1, %2").arg(off.x()).arg(off.y())));
        m_box->windowHandle()->setPosition(399, 299); // the user's hand
        QTRY_VERIFY(m_box->x() > 380);
        m_box->accept();
    }
}

void AboutBoxTest::thePageOpensByMouseKeyboardAndScreenReader()
{
    show();
    QTest::mouseClick(m_box->Comments, Qt::LeftButton);
    QCOMPARE(m_opened, QStringList{productPageAddress()});
    QTest::mouseClick(m_box->Comments, Qt::RightButton);
    QCOMPARE(m_opened.size(), 1);

    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
    QCOMPARE(QApplication::focusWidget(), m_box->Comments);
    QTest::keyClick(m_box->Comments, Qt::Key_Return);
    QTest::keyClick(m_box->Comments, Qt::Key_Space);
    QCOMPARE(m_opened.size(), 3);
    QVERIFY(m_box->isVisible());

    QAccessibleInterface *spoken = QAccessible::queryAccessibleInterface(m_box->Comments);
    QVERIFY(spoken);
    QCOMPARE(spoken->role(), QAccessible::Link);
    QCOMPARE(spoken->text(QAccessible::Name), productPageAddress());
    QVERIFY(spoken->actionInterface());
    spoken->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
    QCOMPARE(m_opened.size(), 4);
}

void AboutBoxTest::thePointerShowsThatThePageCanBePressed()
{
    QCOMPARE(m_box->Comments->cursor().shape(), Qt::PointingHandCursor);
    // Elsewhere there is nothing to press.
    QVERIFY(m_box->Comments->width() < m_box->Panel1->width() / 2 + m_box->Panel1->width() / 3);
}

QTEST_MAIN(AboutBoxTest)
#include "about_box_test.moc"
