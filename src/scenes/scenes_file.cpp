#include "scenes/scenes_file.h"

#include "platform/whole_file.h"
#include "scenes/cell_text.h"
#include "scenes/scene.h"
#include "util/error_reason.h"
#include "util/user_error.h"

#include <algorithm>

namespace {

constexpr const char *lineEnd = "\r\n";

void appendField(QByteArray &xml, const char *element, const QString &text)
{
    xml += "\t\t<";
    xml += element;
    if (text.isEmpty()) {
        xml += "/>";
    } else {
        xml += '>';
        xml += text.toUtf8();
        xml += "</";
        xml += element;
        xml += '>';
    }
    xml += lineEnd;
}

/// The getters in the order of the columns.
constexpr std::array<QString (IXMLsceneType::*)() const, sceneElements.size()> getters{
    &IXMLsceneType::Get_position, &IXMLsceneType::Get_length,   &IXMLsceneType::Get_type,
    &IXMLsceneType::Get_subtype,  &IXMLsceneType::Get_lasttype, &IXMLsceneType::Get_title,
    &IXMLsceneType::Get_persons,  &IXMLsceneType::Get_place,    &IXMLsceneType::Get_time,
    &IXMLsceneType::Get_commemt,  &IXMLsceneType::Get_latitude, &IXMLsceneType::Get_longitude,
};

/// Makes the cells from this one on those of `old`.
void keepRest(GridCells &list, int column, int row, const GridCells &old)
{
    for (; row < list.RowCount(); ++row, column = NumberColumn) {
        for (; column < list.ColCount(); ++column)
            list.setCell(column, row, old.cell(column, row));
    }
}

} // namespace

QByteArray scenesXml(const GridCells &list)
{
    QByteArray xml = scenesFileHead;
    for (int row = 1; row < list.RowCount(); ++row) {
        xml += "\t<scene>\r\n";
        int column = PositionColumn;
        for (const char *element : sceneElements)
            appendField(xml, element, list.cell(column++, row));
        xml += "\t</scene>\r\n";
    }
    xml += "</scenes>\r\n";
    return xml;
}

void fillList(GridCells &list, IXMLscenesType &scenes, const QString &fileName, const GridCells &old)
{
    const int count = scenes.Get_Count();
    if (count < 1)
        return;
    list.setRowCount(count + 1);
    for (int row = 1; row <= count; ++row) {
        const IXMLsceneType &scene = scenes.Get_scene(row - 1);
        list.setCell(NumberColumn, row, QString::number(row));
        int column = PositionColumn;
        try {
            for (const auto getter : getters) {
                const QString text = (scene.*getter)();
                list.setCell(column++, row, text == QLatin1String("0") ? QString() : asCellText(text));
            }
        } catch (const UserError &error) {
            keepRest(list, column, row, old);
            throw PartlyReadError(QStringLiteral("Список сцен из файла «%1» прочитан не весь: в сцене %2 %3")
                                      .arg(fileName, QString::number(row), error.text()));
        }
    }
}

QString firstLostText(const GridCells &list)
{
    for (int row = 1; row < list.RowCount(); ++row) {
        for (int column = PositionColumn; column < list.ColCount(); ++column) {
            const QString lost = whatIsLost(list.cell(column, row));
            if (!lost.isEmpty()) {
                return QStringLiteral("в файле не сохранится текст сцены %1, поле «%2»: %3")
                    .arg(QString::number(row), list.cell(column, 0), lost);
            }
        }
    }
    return {};
}

void saveList(const GridCells &list, const QString &fileName)
{
    const QByteArray xml = scenesXml(list);
    const std::error_code error = replaceWholeFile(
        fileName.toStdU16String(), std::string_view(xml.constData(), static_cast<std::size_t>(xml.size())));
    if (error) {
        throw UserError(
            QStringLiteral("Не удалось сохранить список сцен в файл «%1»: %2").arg(fileName, errorReason(error)));
    }
}
