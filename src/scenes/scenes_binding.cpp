#include "scenes/scenes_binding.h"

#include "platform/whole_file.h"
#include "util/error_reason.h"
#include "util/user_error.h"

#include <QBuffer>
#include <QXmlStreamReader>

#include <bitset>
#include <string>

namespace {

constexpr std::size_t noField = sceneElements.size();

/// The field that an element's name means. Fields mostly come in their order, so `expected` is tried first.
std::size_t fieldNamed(QStringView name, std::size_t expected)
{
    if (expected < sceneElements.size() && name == QLatin1String(sceneElements[expected]))
        return expected;
    for (std::size_t field = 0; field < sceneElements.size(); ++field) {
        if (name == QLatin1String(sceneElements[field]))
            return field;
    }
    return noField;
}

/// Reads the element just entered, up to its end; false if it holds elements.
bool readText(QXmlStreamReader &reader, QString &text)
{
    bool plain = true;
    for (;;) {
        switch (reader.readNext()) {
        case QXmlStreamReader::Characters:
            // One run of text mostly comes in one piece.
            if (text.isEmpty())
                text = reader.text().toString();
            else
                text += reader.text();
            break;
        case QXmlStreamReader::StartElement:
            plain = false;
            reader.skipCurrentElement();
            break;
        case QXmlStreamReader::EndElement:
        case QXmlStreamReader::Invalid:
            return plain;
        default:
            break;
        }
    }
}

/// Moves `reader` to the start of the root element, or to an error.
void enterRoot(QXmlStreamReader &reader)
{
    while (!reader.atEnd()) {
        const QXmlStreamReader::TokenType token = reader.readNext();
        if (token == QXmlStreamReader::DTD && !reader.entityDeclarations().isEmpty())
            reader.raiseError(QStringLiteral("в файле объявлены сущности, такие файлы не читаются"));
        if (token == QXmlStreamReader::StartElement)
            break;
    }
    if (!reader.hasError() && reader.name() != QLatin1String("scenes")) {
        reader.raiseError(
            QStringLiteral("корневой элемент называется «%1», а не «scenes»").arg(reader.qualifiedName()));
    }
}

[[noreturn]] void throwUnreadable(const QString &fileName, const QString &reason)
{
    throw UserError(QStringLiteral("Не удалось прочитать список сцен из файла «%1»: %2").arg(fileName, reason));
}

} // namespace

void TXMLsceneType::read(QXmlStreamReader &reader)
{
    std::bitset<sceneElements.size()> seen;
    std::size_t field = noField;
    while (reader.readNextStartElement()) {
        field = fieldNamed(reader.name(), field == noField ? 0 : field + 1);
        if (field == noField || seen.test(field)) {
            reader.skipCurrentElement();
            continue;
        }
        seen.set(field);
        if (!readText(reader, m_texts[field]))
            m_nested = static_cast<std::uint16_t>(m_nested | (1u << field));
    }
}

QString TXMLsceneType::text(std::size_t field) const
{
    if ((m_nested & (1u << field)) != 0) {
        throw UserError(QStringLiteral("элемент «%1» содержит не текст, а вложенные элементы")
                            .arg(QLatin1String(sceneElements[field])));
    }
    return m_texts[field];
}

void TXMLsceneType::setText(std::size_t field, const QString &value)
{
    m_texts[field] = value;
    m_nested = static_cast<std::uint16_t>(m_nested & ~(1u << field));
}

void TXMLscenesType::read(QXmlStreamReader &reader)
{
    while (reader.readNextStartElement()) {
        if (reader.name() == QLatin1String("scene"))
            Add().read(reader);
        else
            reader.skipCurrentElement();
    }
}

void TXMLDocument::LoadFromFile(const QString &fileName)
{
    m_root.reset();
    std::string bytes;
    if (const std::error_code error = readWholeFile(fileName.toStdU16String(), bytes))
        throwUnreadable(fileName, errorReason(error));
    LoadFromXML(QByteArray::fromRawData(bytes.data(), static_cast<qsizetype>(bytes.size())), fileName);
}

void TXMLDocument::LoadFromXML(const QByteArray &xml, const QString &fileName)
{
    m_root.reset();
    // Through a device the text is decoded piece by piece.
    QBuffer buffer;
    buffer.setData(xml);
    buffer.open(QIODevice::ReadOnly);
    QXmlStreamReader reader(&buffer);

    enterRoot(reader);
    auto scenes = Newscenes();
    if (!reader.hasError())
        scenes->read(reader);
    while (!reader.atEnd())
        reader.readNext();
    if (reader.hasError()) {
        QString reason = QStringLiteral("строка %1, позиция %2: %3")
                             .arg(QString::number(reader.lineNumber()), QString::number(reader.columnNumber()),
                                  reader.errorString().replace(QChar::Null, QChar::ReplacementCharacter));
        if (!xml.isValidUtf8() || xml.contains('\0')) {
            reason += QStringLiteral("\n\nФайл повреждён или записан в другой кодировке, чем в нём сказано.");
        } else if (reader.error() == QXmlStreamReader::NotWellFormedError) {
            reason += QStringLiteral("\n\nЧаще всего мешают знаки «&» и «<» в тексте сцены: замените их в файле "
                                     "текстовым редактором и откройте видео снова.");
        }
        throwUnreadable(fileName, reason);
    }
    m_root = std::move(scenes);
}

std::shared_ptr<IXMLscenesType> Getscenes(const TXMLDocument &document)
{
    return document.m_root;
}

std::shared_ptr<IXMLscenesType> Loadscenes(const QString &fileName)
{
    TXMLDocument document;
    document.LoadFromFile(fileName);
    return Getscenes(document);
}

std::shared_ptr<IXMLscenesType> Newscenes()
{
    return std::make_shared<TXMLscenesType>();
}
