#include "widgets/open_dialog.h"

#include "platform/settings.h"

#include <QDir>
#include <QFileDialog>
#include <QFileInfo>

#include <utility>

namespace {

std::function<std::optional<QString>()> dialogAnswer;

std::optional<QString> askUser(QWidget *owner, const QString &previous)
{
    QFileDialog dialog(owner);
    dialog.setOption(QFileDialog::DontUseNativeDialog, openDialogKeepsHistory());
    dialog.setFileMode(QFileDialog::ExistingFile);
    dialog.resize(860, 520); // wide enough for names, sizes and dates
    if (!previous.isEmpty())
        dialog.selectFile(previous);
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty())
        return std::nullopt;
    return dialog.selectedFiles().constFirst();
}

} // namespace

bool TOpenDialog::Execute(QWidget *owner)
{
    const std::optional<QString> chosen = dialogAnswer ? dialogAnswer() : askUser(owner, FileName);
    if (!chosen || chosen->isEmpty())
        return false;
    FileName = QDir::toNativeSeparators(QFileInfo(*chosen).absoluteFilePath());
    return true;
}

void setOpenDialogAnswer(std::function<std::optional<QString>()> answer)
{
    dialogAnswer = std::move(answer);
}
