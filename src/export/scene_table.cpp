#include "export/scene_table.h"

#include "export/sql_connection.h"
#include "platform/whole_file.h"
#include "scenes/scene.h"
#include "util/error_reason.h"
#include "util/film_files.h"
#include "util/numbers.h"
#include "util/user_error.h"

#include <QFile>
#include <QFileInfo>

namespace {

const QString createStatement = QStringLiteral(
    "CREATE TABLE scenes (id INTEGER NOT NULL PRIMARY KEY AUTOINCREMENT,position REAL,length REAL,type TEXT,"
    "subtype TEXT,lasttype TEXT,title TEXT,persons TEXT,place TEXT,time TEXT,comment TEXT,latitude REAL,"
    "longitude REAL,image BLOB);");

const QString insertStatement = QStringLiteral(
    "insert into scenes (position,length,type,subtype,lasttype,title,persons,place,time,comment,latitude,longitude,"
    "image) values( :Position, :Length, :Type, :Subtype, :Lasttype, :Title, :Persons, :Place, :Time, :Comment, "
    ":Latitude, :Longitude, :Image);");

/// The name of the scene's GIF; empty if there is none.
QString existingGifOf(const Scene &scene, const QString &filmPath)
{
    if (!refusalOfGifName(scene.position, scene.length).isEmpty())
        return {};
    QString file = gifFileOf(filmPath, scene.position, scene.length);
    return QFileInfo(file).isFile() ? file : QString();
}

std::string contentOf(const QString &file)
{
    std::string bytes;
    if (const std::error_code error = readWholeFile(file.toStdU16String(), bytes))
        throw UserError(errorReason(error));
    return bytes;
}

void insertScene(TSQLQuery &query, const Scene &scene, const QString &gif)
{
    query.setSQL(insertStatement);
    const auto number = [&](const char *name, const QString &text) {
        query.ParamByName(QLatin1String(name)).setFloat(leadingNumber(text));
    };
    const auto wide = [&](const char *name, const QString &text) {
        query.ParamByName(QLatin1String(name)).setWideString(text);
    };
    number("Position", scene.position);
    number("Length", scene.length);
    wide("Type", scene.type);
    wide("Subtype", scene.subtype);
    wide("Lasttype", scene.lasttype);
    wide("Title", scene.title);
    wide("Persons", scene.persons);
    wide("Place", scene.place);
    wide("Time", scene.time);
    wide("Comment", scene.comment);
    number("Latitude", scene.latitude);
    number("Longitude", scene.longitude);
    query.ParamByName(QStringLiteral("Image")).setBlob(contentOf(gif));
    query.ExecSQL();
}

} // namespace

void createSceneTable(TSQLQuery &query)
{
    query.setSQL(createStatement);
    query.ExecSQL(true);
}

InsertedScenes insertScenes(TSQLQuery &query, const GridCells &list, const QString &filmPath)
{
    InsertedScenes outcome;
    for (int row = 1; row < list.RowCount(); ++row) {
        const Scene scene = sceneAt(list, row);
        const QString gif = existingGifOf(scene, filmPath);
        if (gif.isEmpty()) {
            ++outcome.withoutGif;
            continue;
        }
        try {
            insertScene(query, scene, gif);
            ++outcome.written;
        } catch (const UserError &) {
            // The other scenes are exported all the same.
            ++outcome.failed;
        }
    }
    return outcome;
}

bool deleteDatabase(const QString &file)
{
    const bool exists = QFileInfo::exists(file);
    if (exists && databaseIsInUse(file))
        return false;
    if (exists && !QFile::remove(file))
        return false;
    // What a program that was killed has left would be taken for the new database's own.
    for (const char *rest : {"-journal", "-wal", "-shm"}) {
        const QString name = file + QLatin1String(rest);
        if (QFileInfo(name).isFile() && !QFile::remove(name))
            return false;
    }
    return true;
}
