#include "widgets/message_box.h"

#include <QApplication>
#include <QGridLayout>
#include <QMessageBox>

#include <utility>

namespace {

std::function<void(const QString &)> boxAnswer;

void showBox(QMessageBox::Icon icon, const QString &text)
{
    if (boxAnswer) {
        boxAnswer(text);
        return;
    }
    QMessageBox box(icon, QApplication::applicationDisplayName(), text, QMessageBox::Ok, QApplication::activeWindow());
    // File names and parser messages come from outside: they are text, never markup.
    box.setTextFormat(Qt::PlainText);
    // A short text makes no box so narrow that its title is cut off.
    constexpr int leastWidth = 240;
    if (auto *grid = qobject_cast<QGridLayout *>(box.layout()))
        grid->addItem(new QSpacerItem(leastWidth, 0), grid->rowCount(), 0, 1, grid->columnCount());
    box.exec();
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

void setMessageBoxAnswer(std::function<void(const QString &)> answer)
{
    boxAnswer = std::move(answer);
}
