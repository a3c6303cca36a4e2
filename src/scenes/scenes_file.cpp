#include "scenes/scenes_file.h"

#include "platform/whole_file.h"
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

} // namespace

QByteArray scenesXml(const GridCells &list)
{
    QByteArray xml = "\xEF\xBB\xBF<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n<scenes>\r\n";
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

void fillList(GridCells &list, IXMLscenesType &scenes, const QString &fileName)
{
    const int count = scenes.Get_Count();
    if (count < 1) {
        clearList(list);
        return;
    }
    list.setRowCount(count + 1);
    for (int row = 1; row <= count; ++row) {
        const IXMLsceneType &scene = scenes.Get_scene(row - 1);
        list.setCell(NumberColumn, row, QString::number(row));
        int column = PositionColumn;
        try {
            for (const auto getter : getters) {
                const QString text = (scene.*getter)();
                list.setCell(column++, row, text == QLatin1String("0") ? QString() : text);
            }
        } catch (const UserError &error) {
            throw PartlyReadError(QStringLiteral("Список сцен из файла «%1» прочитан не весь: в сцене %2 %3")
                                      .arg(fileName, QString::number(row), error.text()));
        }
    }
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
