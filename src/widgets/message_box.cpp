#include "widgets/message_box.h"

#include <QApplication>
#include <QGridLayout>
#include <QMessageBox>
#include <QPushButton>

#include <utility>

namespace {

std::function<void(const QString &)> boxAnswer;

/// True if the button with `offer` was chosen; there is none for an empty `offer`.
bool showBox(QMessageBox::Icon icon, const QString &text, const QString &offer = {})
{
    if (boxAnswer) {
        boxAnswer(text);
        return false;
    }
    QMessageBox box(icon, QApplication::applicationDisplayName(), text, QMessageBox::Ok, QApplication::activeWindow());
    // File names and parser messages come from outside: they are text, never markup.
    box.setTextFormat(Qt::PlainText);
    // A short text makes no box so narrow that its title is cut off.
    constexpr int leastWidth = 240;
    if (auto *grid = qobject_cast<QGridLayout *>(box.layout()))
        grid->addItem(new QSpacerItem(leastWidth, 0), grid->rowCount(), 0, 1, grid->columnCount());
    const QPushButton *offered = offer.isEmpty() ? nullptr : box.addButton(offer, QMessageBox::ActionRole);
    box.setDefaultButton(QMessageBox::Ok);
    box.setEscapeButton(QMessageBox::Ok);
    box.exec();
    return offered && box.clickedButton() == offered;
}

} // namespace

void ShowMessage(const QString &text)
{
    showBox(QMessageBox::NoIcon, text);
}

void showError(const QString &text)
{
    showBox(QMessageBox::Critical, text);
}

bool showErrorOffering(const QString &text, const QString &caption)
{
    return showBox(QMessageBox::Critical, text, caption);
}

void setMessageBoxAnswer(std::function<void(const QString &)> answer)
{
    boxAnswer = std::move(answer);
}
