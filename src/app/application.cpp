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

namespace {

/// Shows the error that is being handled and, if the user takes what it offers, does that.
void showCurrentError()
{
    try {
        throw;
    } catch (const RemediableError &error) {
        if (!showErrorOffering(error.text(), error.caption()))
            return;
        try {
            error.remedy()();
        } catch (...) {
            showCurrentError();
        }
    } catch (const std::bad_alloc &) {
        showError(QStringLiteral("Недостаточно памяти."));
    } catch (const std::exception &error) {
        showError(QString::fromUtf8(error.what()));
    }
}

} // namespace

bool TApplication::notify(QObject *receiver, QEvent *event)
{
    try {
        return QApplication::notify(receiver, event);
    } catch (const std::exception &) {
        showCurrentError();
    }
    return true;
}
