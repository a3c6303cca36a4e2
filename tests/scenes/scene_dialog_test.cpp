#include "scene_windows.h"

#include "util/application_folder.h"
#include "widgets/application_font.h"

#include <QApplication>
#include <QClipboard>
#include <QComboBox>
#include <QLayout>
#include <QLineEdit>
#include <QMimeData>
#include <QPushButton>
#include <QTest>

namespace {

const QByteArray typeList = "Погоня\n\tПешая\n\tНа машинах\n\t\tНочью\n\t\tДнём\nЁлка \n\tx\nжурнал\nДиалог\r\n"
                            "\tСпор\r\n\t\tШуточный\r\n\tПризнание\r\nЕда\n\tПешая\n";
const QByteArray oddTypes = "Rock & Roll\nБе\x03г\n";

QStringList items(const TListBox *list)
{
    QStringList texts;
    for (int i = 0; i < list->count(); ++i)
        texts += list->item(i)->text();
    return texts;
}

void clickItem(TListBox *list, const QString &text)
{
    const auto found = list->findItems(text, Qt::MatchExactly);
    QCOMPARE(found.size(), 1);
    QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, list->visualItemRect(found.constFirst()).center());
}

void press(QPushButton *button)
{
    QTest::mouseClick(button, Qt::LeftButton);
}

} // namespace

class SceneDialogTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup() { m_windows.reset(); }
    void withoutATypeListThereIsNoDialog();
    void everyCaptionIsWholeInTheFixedWindow();
    void choosingFillsTheListsBelow();
    void aPressAddsARow();
    void savingOverwritesTheCurrentRow();
    void everyModeFillsWhatItShould();
    void theMapFillsTheCoordinatesAndCostsTheTypeList();
    void textsAreKeptExactly();

private:
    std::unique_ptr<SceneWindows> m_windows;
    TForm2 *m_dialog = nullptr;
};

void SceneDialogTest::init()
{
    m_windows = std::make_unique<SceneWindows>(typeList);
    m_dialog = m_windows->dialog.get();
}

void SceneDialogTest::withoutATypeListThereIsNoDialog()
{
    m_windows.reset();
    QVERIFY(!Form2);
    const QTemporaryDir folder;
    CurPath = folder.path();
    QWidget owner;
    for (const char *reason : {"нет такого файла", "под этим именем есть папка"}) {
        const QString refusal = refusalOf([&] { const TForm2 dialog(&owner); });
        QVERIFY2(refusal.contains(QDir::separator() + QString("Tavrin.txt")) && refusal.contains(reason),
                 qPrintable(refusal));
        QVERIFY(!Form2);
        QVERIFY(QDir(folder.path()).mkpath("Tavrin.txt"));
    }
}

void SceneDialogTest::everyCaptionIsWholeInTheFixedWindow()
{
    for (const QFont &font : {applicationFont(), QFont("DejaVu Sans", 8)}) {
        m_dialog->setFont(font);
        m_dialog->bringUp();
        m_dialog->BitBtn1->setText("Сохранить изменения");
        QCoreApplication::sendPostedEvents();
        QCOMPARE(m_dialog->size(), m_dialog->size().expandedTo(m_dialog->layout()->minimumSize()));
        for (const auto *edit : m_dialog->findChildren<QLineEdit *>())
            QVERIFY2(edit->width() > edit->fontMetrics().horizontalAdvance(edit->placeholderText()),
                     qPrintable(edit->placeholderText()));
    }
}

void SceneDialogTest::choosingFillsTheListsBelow()
{
    m_dialog->bringUp();
    QCOMPARE(items(m_dialog->ListBox1), QStringList({"Диалог", "Еда", "Ёлка ", "журнал", "Погоня"}));
    clickItem(m_dialog->ListBox1, "Погоня");
    QCOMPARE(items(m_dialog->ListBox2), QStringList({"На машинах", "Пешая"}));
    clickItem(m_dialog->ListBox2, "На машинах");
    QCOMPARE(items(m_dialog->ListBox3), QStringList({"Днём", "Ночью"}));
    // The chosen one again starts over.
    clickItem(m_dialog->ListBox1, "Погоня");
    QCOMPARE(m_dialog->ListBox2->ItemIndex(), -1);
    QCOMPARE(m_dialog->ListBox3->count(), 0);

    // The keys choose as the mouse does, from the first item on.
    m_dialog->ListBox1->setItemIndex(-1);
    m_dialog->ListBox1->setFocus();
    QTest::keyClick(m_dialog->ListBox1, Qt::Key_Down);
    QCOMPARE(items(m_dialog->ListBox2), QStringList({"Признание", "Спор"}));
    QTest::keyClick(m_dialog->ListBox1, Qt::Key_Down);
    QCOMPARE(items(m_dialog->ListBox2), QStringList({"Пешая"}));
}

void SceneDialogTest::aPressAddsARow()
{
    m_dialog->describeNewScene("12.34");
    m_dialog->ListBox1->choose("Диалог");
    press(m_dialog->BitBtn1);
    // Without a film nothing happens.
    QCOMPARE(m_windows->messages, QStringList());
    QVERIFY(!m_windows->list->isVisible());
    m_windows->openVideo();
    m_dialog->ListBox1->setItemIndex(-1);
    press(m_dialog->BitBtn1);
    QCOMPARE(m_windows->messages, QStringList{"Выберите тип сцены!"});
    QCOMPARE(m_windows->rows(), QStringList{"||||||||||||"});

    m_dialog->Edit2->setText("3.33");
    clickItem(m_dialog->ListBox1, "Диалог");
    int letter = 'a';
    for (const char *name : {"Edit3", "Edit4", "Edit5", "Edit6", "Edit7", "Edit8", "Edit9"})
        m_dialog->findChild<QLineEdit *>(name)->setText(QChar(letter++));
    const QString fields = "12.34|3.33|Диалог|||a|b|c|d|e|f|g";
    press(m_dialog->BitBtn1);
    QCOMPARE(m_windows->rows(), QStringList{"1|" + fields});
    QVERIFY(m_windows->list->isVisible() && m_dialog->isVisible());

    clickItem(m_dialog->ListBox2, "Спор");
    clickItem(m_dialog->ListBox3, "Шуточный");
    press(m_dialog->BitBtn1);
    press(m_dialog->BitBtn1);
    const QString more = QString(fields).replace("Диалог||", "Диалог|Спор|Шуточный");
    QCOMPARE(m_windows->rows(), QStringList({"1|" + fields, "2|" + more, "3|" + more}));
    QCOMPARE(m_windows->grid->Row(), 1);

    // Enter adds what has changed since, and that once; on a button it presses that button.
    const auto enterIn = [](QWidget *widget) {
        widget->setFocus();
        QTest::keyClick(widget, Qt::Key_Return);
    };
    for (QWidget *widget : std::initializer_list<QWidget *>{m_dialog->ListBox1, m_dialog->ComboBox1, m_dialog->Edit3})
        enterIn(widget);
    QCOMPARE(m_windows->rows().size(), 3);
    m_dialog->Edit3->setFocus();
    QTest::keyClicks(m_dialog->Edit3, "!");
    for (int i = 0; i < 3; ++i)
        enterIn(m_dialog->Edit3);
    QCOMPARE(m_windows->rows().size(), 4);
    enterIn(m_dialog->BitBtn1);
    QCOMPARE(m_windows->rows().size(), 5);
    QTest::keyClick(m_dialog->Edit3, Qt::Key_Escape);
    QVERIFY(!m_dialog->isVisible());
    m_dialog->bringUp();
    press(m_dialog->BitBtn4);
    QVERIFY(!m_dialog->isVisible());
    QCOMPARE(m_dialog->Edit1->text(), QString("12.34"));
}

void SceneDialogTest::savingOverwritesTheCurrentRow()
{
    m_windows->openVideo();
    m_windows->addRow({"1", "2", "Погоня", "На машинах", "Днём", "a", "b", "c", "d", "e", "f", "g"});
    m_windows->addRow({"3", "4", "погоня", "На машинах", "", "h", "", "", "", "", "", ""});
    m_windows->addRow({"5", "6", "Еда", "Спор", "Шуточный", "i", "", "", "", "", "", ""});
    m_windows->grid->setCell(NumberColumn, 3, "17");
    m_windows->list->show();

    m_windows->clickRow(1);
    QCOMPARE(m_dialog->BitBtn1->text(), QString("Сохранить изменения"));
    QCOMPARE(m_dialog->Edit9->text(), QString("g"));
    QCOMPARE(m_dialog->ListBox3->chosenText(), QString("Днём"));
    m_dialog->Edit3->setText("новое");
    press(m_dialog->BitBtn1);
    QCOMPARE(m_windows->rows().value(0), QString("1|1|2|Погоня|На машинах|Днём|новое|b|c|d|e|f|g"));

    // A type that is in the list only in other letters is no choice.
    m_windows->grid->setRow(2);
    m_windows->list->StringGrid1Click();
    QCOMPARE(m_dialog->ListBox1->ItemIndex(), -1);
    QCOMPARE(m_dialog->ListBox2->count() + m_dialog->ListBox3->count(), 0);
    press(m_dialog->BitBtn1);
    QCOMPARE(m_windows->messages, QStringList{"Выберите тип сцены!"});

    // A subtype that the type does not have is lost with what is below it; the number becomes the row's.
    m_windows->grid->setRow(3);
    m_windows->list->StringGrid1Click();
    press(m_dialog->BitBtn1);
    QCOMPARE(m_windows->rows().value(2), QString("3|5|6|Еда|||i||||||"));

    // What is overwritten is the row that is current at the press, and the dialog shows that one.
    m_windows->grid->setRow(1);
    QCOMPARE(m_dialog->Edit3->text(), QString("новое"));
    m_dialog->Edit3->setText("новее");
    press(m_dialog->BitBtn1);
    QCOMPARE(m_windows->rows().value(0), QString("1|1|2|Погоня|На машинах|Днём|новее|b|c|d|e|f|g"));
}

void SceneDialogTest::everyModeFillsWhatItShould()
{
    const auto edited = [this] {
        QString texts;
        for (const char *name : {"Edit1", "Edit2", "Edit3", "Edit4", "Edit5", "Edit6", "Edit7", "Edit8", "Edit9"})
            texts += m_dialog->findChild<QLineEdit *>(name)->text() + '|';
        return texts + m_dialog->ListBox2->chosenText();
    };
    const Scene scene{"1", "2", "Погоня", "На машинах", "Днём", "a", "b", "c", "d", "e", "f", "g"};
    m_dialog->fillForEditing(scene);
    // A length changes nothing else, and leaves who is describing the scene where they are.
    m_dialog->showLength("3.5");
    QVERIFY(m_dialog->isVisible());
    QCOMPARE(edited(), QString("1|3.5|a|b|c|d|e|f|g|На машинах"));
    QCOMPARE(m_dialog->BitBtn1->text(), QString("Сохранить изменения"));
    QCOMPARE(m_dialog->focusWidget(), m_dialog->Edit3);
    m_dialog->Edit7->setFocus();
    m_dialog->showLength("4");
    QCOMPARE(m_dialog->focusWidget(), m_dialog->Edit7);

    press(m_dialog->BitBtn3);
    QCOMPARE(edited(), QString("1|4||||||||"));
    QCOMPARE(m_dialog->ListBox1->ItemIndex(), -1);
    QCOMPARE(m_dialog->ListBox1->count(), 5);
    QCOMPARE(m_dialog->ListBox2->count() + m_dialog->ListBox3->count(), 0);
    QCOMPARE(m_dialog->BitBtn1->text(), QString("Сохранить изменения"));

    m_dialog->fillForEditing(scene);
    m_dialog->describeNewScene("60");
    QCOMPARE(edited(), QString("60|||||||||"));
    QCOMPARE(m_dialog->ListBox1->ItemIndex(), -1);
    QCOMPARE(m_dialog->ListBox2->count(), 0);
    QCOMPARE(m_dialog->BitBtn1->text(), QString("Добавить сцену"));
    QCOMPARE(m_dialog->focusWidget(), m_dialog->ListBox1);
}

void SceneDialogTest::theMapFillsTheCoordinatesAndCostsTheTypeList()
{
    m_dialog->describeNewScene("1");
    press(m_dialog->BitBtn2);
    m_dialog->ComboBox1->setCurrentIndex(2);
    press(m_dialog->BitBtn2);
    QCOMPARE(m_windows->openedAddresses, QStringList({"https://www.openstreetmap.org", "https://yandex.ru/maps/"}));

    // A clipboard without text leaves the buffer.
    auto *picture = new QMimeData;
    picture->setData("image/x-nothing", "x");
    QGuiApplication::clipboard()->setMimeData(picture);
    press(m_dialog->BitBtn5);
    QCOMPARE(m_windows->beeps, 1);
    clickItem(m_dialog->ListBox1, "Диалог");
    QCOMPARE(m_dialog->ListBox2->count(), 2);

    // Only the first line counts, and it may be a megabyte long.
    const QString yandex = "https://yandex.ru/maps/?ll=47.2036%2C56.1489&z=12\r\nhttps://google.com/@1,2";
    for (const auto &[text, point, beeps] :
         {std::tuple(yandex, "56.1489|47.2036", 1), std::tuple("\n" + yandex, "56.1489|47.2036", 2),
          std::tuple(QString("https://google.com/maps"), "|", 2),
          std::tuple("https://google.com/@1,2," + QString(1 << 20, ','), "1|2", 2)}) {
        QGuiApplication::clipboard()->setText(text);
        press(m_dialog->BitBtn5);
        QCOMPARE(m_dialog->Edit8->text() + '|' + m_dialog->Edit9->text(), QString(point));
        QCOMPARE(m_windows->beeps, beeps);
    }

    // The buffer is one: what was pasted is searched as the type list was.
    QGuiApplication::clipboard()->setText("Погоня\n\tиз буфера\n" + QString("a\n").repeated(1 << 19));
    press(m_dialog->BitBtn5);
    QCOMPARE(m_dialog->ListBox1->count(), 5);
    clickItem(m_dialog->ListBox1, "Диалог");
    QCOMPARE(m_dialog->ListBox2->count(), 0);
    clickItem(m_dialog->ListBox1, "Погоня");
    QCOMPARE(items(m_dialog->ListBox2), QStringList{"из буфера"});
}

void SceneDialogTest::textsAreKeptExactly()
{
    m_windows.reset();
    m_windows = std::make_unique<SceneWindows>(typeList + oddTypes);
    m_dialog = m_windows->dialog.get();
    // From the list and back.
    const QString odd = QString::fromUtf8("  a\tb\nc\r\x01 ") + QChar(QChar::Nbsp) + QString(40'000, 'x');
    Scene scene;
    scene.position = scene.title = scene.longitude = odd;
    m_dialog->fillForEditing(scene);
    for (const QLineEdit *edit : {m_dialog->Edit1, m_dialog->Edit3, m_dialog->Edit9})
        QCOMPARE(edit->text(), odd);

    // What is pasted has to fit one line of a file that can be read back.
    m_dialog->Edit3->clear();
    QGuiApplication::clipboard()->setText(QString::fromUtf8("a\r\nb\x02\tЯ🎬") + QChar(0xD800));
    m_dialog->Edit3->paste();
    QCOMPARE(m_dialog->Edit3->text(), QString::fromUtf8("a  b \tЯ🎬 "));

    // What the file cannot give back is marked while it stands there.
    QVERIFY(m_dialog->Edit3->toolTip().isEmpty());
    QTest::keyClicks(m_dialog->Edit3, "R&D");
    QVERIFY(m_dialog->Edit3->toolTip().contains("«&»"));
    QVERIFY(m_dialog->Edit3->palette().color(QPalette::Base) != m_dialog->Edit4->palette().color(QPalette::Base));
    for (int i = 0; i < 2; ++i)
        QTest::keyClick(m_dialog->Edit3, Qt::Key_Backspace);
    QVERIFY(m_dialog->Edit3->toolTip().isEmpty());
    QCOMPARE(m_dialog->Edit3->palette().color(QPalette::Base), m_dialog->Edit4->palette().color(QPalette::Base));
    QVERIFY(m_dialog->ListBox1->findItems("Rock & Roll", Qt::MatchExactly).value(0)->toolTip().contains("«&»"));

    // Neither an address nor a type brings a control character into a cell.
    m_windows->openVideo();
    QGuiApplication::clipboard()->setText("https://google.com/@1\x02,2&\x7f,3");
    press(m_dialog->BitBtn5);
    QVERIFY(m_dialog->Edit9->toolTip().contains("«&»"));
    m_dialog->Edit3->clear();
    m_dialog->ListBox1->choose("Бе\x03г");
    press(m_dialog->BitBtn1);
    QCOMPARE(m_windows->rows().constLast().section('|', 3), QString("Бе г||||||||1 |2& "));
}

QTEST_MAIN(SceneDialogTest)
#include "scene_dialog_test.moc"
