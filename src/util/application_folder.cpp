#include "util/application_folder.h"

#include <QDir>

QString CurPath;

QString inApplicationFolder(const QString &fileName)
{
    return CurPath + QDir::separator() + fileName;
}
