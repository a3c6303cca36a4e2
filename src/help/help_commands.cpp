#include "help/help_commands.h"

#include "help/help_addresses.h"
#include "platform/shell_open.h"
#include "util/application_folder.h"

#include <utility>

namespace {

std::function<void(const QString &)> openAnswer;

void open(const QString &address)
{
    if (openAnswer)
        openAnswer(address);
    else
        shellOpen(address.toStdString());
}

} // namespace

void openHelpFile()
{
    open(inApplicationFolder(QStringLiteral("Tavrin.chm")));
}

void openOnlineHelp()
{
    open(QStringLiteral(TAVRIN_ONLINE_HELP));
}

void openProductPage()
{
    open(productPageAddress());
}

QString productPageAddress()
{
    return QStringLiteral(TAVRIN_PRODUCT_PAGE);
}

void setShellOpenAnswer(std::function<void(const QString &)> answer)
{
    openAnswer = std::move(answer);
}
