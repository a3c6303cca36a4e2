#include "scenes/scene_lines.h"

#include "scenes/cell_text.h"
#include "scenes/scene.h"
#include "scenes/scenes_binding.h"
#include "scenes/scenes_file.h"

#include <QByteArrayView>

namespace {

/// The lines of a file, one after the other.
class Lines {
public:
    explicit Lines(QByteArrayView text) : m_rest(text) {}

    /// The next line without its end; none where no whole line is left.
    std::optional<QByteArrayView> next()
    {
        const qsizetype end = m_rest.indexOf("\r\n");
        if (end < 0)
            return std::nullopt;
        const QByteArrayView line = m_rest.first(end);
        m_rest = m_rest.sliced(end + 2);
        return line;
    }

    [[nodiscard]] bool atEnd() const { return m_rest.isEmpty(); }

private:
    QByteArrayView m_rest;
};

/// The text of the field on this line.
std::optional<QString> fieldText(QByteArrayView line, QByteArrayView element)
{
    if (!line.startsWith("\t\t<") || !line.sliced(3).startsWith(element))
        return std::nullopt;
    line = line.sliced(3 + element.size());
    if (line == "/>")
        return QString();
    const QByteArray end = "</" + element.toByteArray() + ">";
    if (!line.startsWith('>') || !line.endsWith(end) || line.size() < 1 + end.size())
        return std::nullopt;
    // At the beginning of what it decodes U+FEFF would be taken for a byte order mark.
    return asCellText(QString::fromUtf8(line.chopped(end.size())).sliced(1));
}

/// The scene whose opening line has just been read.
std::optional<Scene> sceneIn(Lines &lines)
{
    Scene scene;
    std::size_t field = 0;
    for (const char *element : sceneElements) {
        const auto line = lines.next();
        const auto text = line ? fieldText(*line, element) : std::nullopt;
        if (!text)
            return std::nullopt;
        scene.*sceneFields[field++] = *text;
    }
    return lines.next() == QByteArrayView("\t</scene>") ? std::optional(scene) : std::nullopt;
}

} // namespace

std::optional<GridCells> readLineByLine(const QByteArray &file)
{
    if (!file.startsWith(scenesFileHead) || !file.isValidUtf8())
        return std::nullopt;
    Lines lines(QByteArrayView(file).sliced(scenesFileHead.size()));
    GridCells list(sceneColumnCount);
    for (auto line = lines.next(); line; line = lines.next()) {
        if (*line == "</scenes>" && lines.atEnd())
            return list;
        const auto scene = *line == "\t<scene>" ? sceneIn(lines) : std::nullopt;
        if (!scene)
            return std::nullopt;
        setScene(list, rowForNewScene(list), *scene);
    }
    return std::nullopt;
}
