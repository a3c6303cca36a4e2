#include "app/application.h"

#include "platform/settings.h"
#include "util/user_error.h"
#include "widgets/message_box.h"

#include <QLibraryInfo>
#include <QSettings>
#include <QTranslator>

#include <clocale>
#include <exception>

TApplication::TApplication(int &argc, char **argv) : QApplication(argc, argv)
{
    // Numbers are read and written with a point everywhere but on the screen.
    std::setlocale(LC_NUMERIC, "C");

    // The open dialog keeps its history in the user's settings; nothing of this program is kept there.
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, QString::fromStdString(noSettingsFolder()));

    auto *translator = new QTranslator(this);
    if (translator->load(QStringLiteral("qtbase_ru"), QLibraryInfo::path(QLibraryInfo::TranslationsPath)))
        installTranslator(translator);
}

bool TApplication::notify(QObject *receiver, QEvent *event)
{
    try {
        return QApplication::notify(receiver, event);
    } catch (const std::bad_alloc &) {
        showError(QStringLiteral("Недостаточно памяти."));
    } catch (const std::exception &error) {
        showError(QString::fromUtf8(error.what()));
    }
    return true;
}
