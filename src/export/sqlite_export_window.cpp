#include "export/sqlite_export_window.h"

#include "export/gif_export_dialog.h"
#include "export/scene_table.h"
#include "platform/whole_file.h"
#include "player/player_state.h"
#include "scenes/scene.h"
#include "scenes/scene_list_window.h"
#include "util/error_reason.h"
#include "util/film_files.h"
#include "util/user_error.h"
#include "widgets/icons.h"
#include "widgets/message_box.h"

#include <QPushButton>
#include <QVBoxLayout>

TForm5 *Form5 = nullptr;

namespace {

constexpr QSize clientSize(347, 125);
constexpr int buttonHeight = 27;

/// Closes the connection at the end of its scope.
class ConnectionCloser {
public:
    explicit ConnectionCloser(TSQLConnection &toClose) : m_connection(toClose) {}
    ~ConnectionCloser() { m_connection.Close(); }
    ConnectionCloser(const ConnectionCloser &) = delete;
    ConnectionCloser &operator=(const ConnectionCloser &) = delete;

private:
    TSQLConnection &m_connection;
};

/// Opens the new database. What becomes of it when the machine fails in the middle is of no use anyway: it is flushed
/// once, at the end, not after every scene.
void openNew(TSQLConnection &connection, const QString &file)
{
    connection.Params[QStringLiteral("Database")] = file;
    connection.Params[QStringLiteral("FailIfMissing")] = QStringLiteral("False");
    connection.Open();
    connection.ExecuteDirect(QStringLiteral("PRAGMA locking_mode=EXCLUSIVE; PRAGMA synchronous=OFF"));
}

QString outcomeText(const InsertedScenes &outcome)
{
    QString text = QStringLiteral("Экспорт в SQLite: записано сцен: %1").arg(outcome.written);
    QStringList reasons;
    if (outcome.withoutGif > 0)
        reasons += QStringLiteral("нет GIF: %1").arg(outcome.withoutGif);
    if (outcome.failed > 0)
        reasons += QStringLiteral("ошибка: %1").arg(outcome.failed);
    if (!reasons.isEmpty()) {
        text += QStringLiteral(", пропущено: %1 (%2)")
                    .arg(outcome.withoutGif + outcome.failed)
                    .arg(reasons.join(QStringLiteral(", ")));
    }
    return text;
}

} // namespace

TForm5::TForm5(QWidget *owner)
    : QDialog(owner, Qt::Dialog | Qt::WindowTitleHint | Qt::WindowSystemMenuHint | Qt::WindowCloseButtonHint
                         | Qt::MSWindowsFixedSizeDialogHint)
{
    setWindowTitle(QStringLiteral("Экспорт сцен в SQLite"));
    setObjectName(QStringLiteral("Form5"));
    setModal(true);

    auto *column = new QVBoxLayout(this);
    const auto button = [&](const char *name, const char *iconName, const QString &caption, void (TForm5::*handler)()) {
        auto *control = new QPushButton(icon(iconName), caption, this);
        control->setObjectName(QLatin1String(name));
        control->setMinimumHeight(buttonHeight);
        connect(control, &QPushButton::clicked, this, handler);
        column->addWidget(control);
        return control;
    };
    BitBtn1 = button("BitBtn1", "export-gif", QStringLiteral("Экспорт изображений"), &TForm5::BitBtn1Click);
    BitBtn2 = button("BitBtn2", "export-database", QStringLiteral("Экспорт в SQLite"), &TForm5::BitBtn2Click);
    BitBtn3 = button("BitBtn3", "close", QStringLiteral("Закрыть"), &TForm5::BitBtn3Click);
    setFixedSize(clientSize);
    Form5 = this;
}

TForm5::~TForm5()
{
    if (Form5 == this)
        Form5 = nullptr;
}

void TForm5::BitBtn1Click()
{
    Form4->exec();
}

void TForm5::BitBtn2Click()
{
    // The list may be long: the window shows the released button, not what it looked like when it was pressed.
    repaint();
    const QString file = databaseFileOf(VideoPath);
    const GridCells &list = Form3->StringGrid1->cells();
    InsertedScenes outcome;
    {
        const ConnectionCloser closer(SQLConnection1);
        try {
            if (!deleteDatabase(file))
                throw UserError(file);
            openNew(SQLConnection1, file);
        } catch (const UserError &) {
            ShowMessage(QStringLiteral("Database connection error!"));
            return;
        }
        createSceneTable(SQLQuery1);
        outcome = insertScenes(SQLQuery1, list, VideoPath);
    }
    if (const std::error_code error = flushFile(file.toStdU16String())) {
        throw UserError(QStringLiteral("Не удалось сохранить базу данных «%1»: %2").arg(file, errorReason(error)));
    }
    Form3->showFact(listIsEmpty(list) ? QStringLiteral("Экспорт в SQLite: в списке нет сцен") : outcomeText(outcome));
    ShowMessage(QStringLiteral("Экспорт завершён"));
    close();
}

void TForm5::BitBtn3Click()
{
    close();
}
