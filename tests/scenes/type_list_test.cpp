#include "scenes/type_list.h"

#include <QFile>
#include <QTest>

class TypeListTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void filesOfAnyKindAreRead();
    void levelsAreToldByTabs();
    void theListThatComesWithTheProgramIsSound();
};

void TypeListTest::filesOfAnyKindAreRead()
{
    QCOMPARE(linesOf("a\r\n\r\nb\n\rc\rd"), QStringList({"a", "", "b", "", "c", "d"}));
    QCOMPARE(linesOf("a\n"), QStringList{"a"});
    QCOMPARE(linesOf(""), QStringList());
    QCOMPARE(typeListText("\xEF\xBB\xBF\xD0\xAF"), QString("Я"));
    QVERIFY(typeListText("a\xFF\xD0").startsWith(QString("a") + QChar(0xFFFD)));
}

void TypeListTest::levelsAreToldByTabs()
{
    const char *dialogue = "Диалог\n\tСпор\n\t\tШуточный\n\t\tСерьёзный\n\tПризнание\n\nПогоня\n\tПешая\n";
    QCOMPARE(typesIn(linesOf(dialogue)), QStringList({"Диалог", "Погоня"}));
    const struct {
        const char *text;
        const char *type;
        const char *subtypes;
        const char *subtype;
        const char *lasttypes;
    } cases[] = {
        {dialogue, "Диалог", "Спор|Признание", "Спор", "Шуточный|Серьёзный"},
        {dialogue, "диалог", "", "спор", ""},
        {dialogue, "Диалог ", "", "Спор ", ""},
        // An empty line ends a block; only the first block of a type counts, and the first subtype of a name.
        {"A\n\n\tb\n\t\tc\n", "A", "", "b", "c"},
        {"A\n\tb\n\n\t\tc\n", "A", "b", "b", ""},
        {"A\n\tb\nC\nA\n\td\n", "A", "b", "d", ""},
        {"A\n\tx\n\t\tпервый\nB\n\tx\n\t\tвторой\n", "B", "x", "x", "первый"},
        // All TABs of a subtype go, and every two of a lasttype.
        {"A\n\t\n\tБег\tтрусцой\n\t\tc\n", "A", "Бегтрусцой", "Бегтрусцой", ""},
        {"A\n\tb\n\t\t\tc\n\t\td\t\te\n\t\t\n", "A", "b", "b", "\tc|de"},
    };
    for (const auto &[text, type, subtypes, subtype, lasttypes] : cases) {
        const QStringList lines = linesOf(text);
        QCOMPARE(subtypesOf(type, lines).join('|'), QString(subtypes));
        QCOMPARE(lasttypesOf(subtype, lines).join('|'), QString(lasttypes));
    }
}

void TypeListTest::theListThatComesWithTheProgramIsSound()
{
    QFile file(TYPE_LIST_FILE);
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QByteArray bytes = file.readAll();
    const QStringList lines = linesOf(typeListText(bytes));
    QVERIFY(typesIn(lines).size() >= 12);
    // Every line can be reached by choices in the dialog, which takes the first of equal names.
    QString reached;
    for (const QString &type : typesIn(lines)) {
        reached += type + '\n';
        for (const QString &subtype : subtypesOf(type, lines)) {
            reached += '\t' + subtype + '\n';
            for (const QString &lasttype : lasttypesOf(subtype, lines))
                reached += "\t\t" + lasttype + '\n';
        }
    }
    QCOMPARE(reached, QString::fromUtf8(bytes));
    for (const QString &line : lines)
        QVERIFY2(line.trimmed() == QString(line).remove('\t'), qPrintable(line));
}

QTEST_APPLESS_MAIN(TypeListTest)
#include "type_list_test.moc"
