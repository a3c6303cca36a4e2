// What a scene list costs as it grows, and reading one against a bare XML parser on the same file. Each figure is
// printed as "name value".

#include "player/player_state.h"
#include "scenes/list_history.h"
#include "scenes/scene.h"
#include "scenes/scene_dialog.h"
#include "scenes/scene_list_window.h"
#include "util/application_folder.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QProcess>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <random>
#include <vector>

namespace {

constexpr int shortList = 10'000;
constexpr int longList = 100'000;

double secondsOf(const std::function<void()> &operation)
{
    QElapsedTimer timer;
    timer.start();
    operation();
    constexpr double nanosecondsPerSecond = 1e9;
    return static_cast<double>(timer.nsecsElapsed()) / nanosecondsPerSecond;
}

/// The run that the disk and the machine's other work disturbed least; they only ever add to it.
double fastest(const std::vector<double> &values)
{
    return *std::min_element(values.begin(), values.end());
}

/// Seconds of each run.
struct Costs {
    std::vector<double> sort;
    std::vector<double> save;
    std::vector<double> load;
    std::vector<double> edit;
    std::vector<double> parse;
};

/// Scenes as a person writes them, their starts in no order.
void fill(TStringGrid *grid, int count)
{
    std::mt19937 random(1);
    std::uniform_int_distribution<int> hundredths(0, 720'000);
    grid->change([&](GridCells &list) {
        clearList(list);
        list.setRowCount(count + 1);
        for (int row = 1; row <= count; ++row) {
            Scene scene;
            scene.position = QString::number(hundredths(random) / 100.0);
            scene.length = QString::number(hundredths(random) / 10'000.0);
            scene.type = QStringLiteral("Диалог");
            scene.subtype = QStringLiteral("Спор");
            scene.title = QStringLiteral("Сцена героического поступка %1").arg(row);
            scene.persons = QStringLiteral("Король Испании, Королева Испании");
            scene.place = QStringLiteral("деревня Диканька");
            scene.time = QStringLiteral("лето 1953 года");
            scene.comment = QStringLiteral("очень динамичная сцена");
            scene.latitude = QStringLiteral("56.1489315");
            scene.longitude = QStringLiteral("47.203575");
            setScene(list, row, scene);
        }
    });
}

void print(const char *name, double value)
{
    std::printf("%s %.3f\n", name, value);
}

} // namespace

int main(int argc, char *argv[])
{
    if (qEnvironmentVariableIsEmpty("DISPLAY") && qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    const QApplication application(argc, argv);
    const QTemporaryDir folder;
    CurPath = QCoreApplication::applicationDirPath() + QStringLiteral("/../bin");
    QWidget owner;
    const TForm2 dialog(&owner);
    OPENED = true;

    const auto show = [] { QCoreApplication::processEvents(); };
    const auto measure = [&](int count, int runs) {
        VideoPath = folder.filePath(QString::number(count));
        Costs costs;
        for (int run = 0; run < runs; ++run) {
            // What can be taken back is kept as long as the window is.
            TForm3 window(&owner);
            window.show();
            fill(window.StringGrid1, count);
            show();
            costs.sort.push_back(secondsOf([&] {
                window.N13Click();
                show();
            }));
            costs.save.push_back(secondsOf([&] { window.Save1Click(); }));
            window.N12Click();
            show();
            costs.load.push_back(secondsOf([&] {
                window.Open1Click();
                show();
            }));
            costs.edit.push_back(secondsOf([&] {
                window.history->overwrite(sceneAt(window.StringGrid1->cells(), count / 2));
                window.history->undo();
                show();
            }));
            costs.parse.push_back(secondsOf([&] {
                const QStringList arguments{QStringLiteral("--noout"), VideoPath + QStringLiteral(".scenes")};
                if (QProcess::execute(QStringLiteral("xmllint"), arguments) != 0)
                    qFatal("xmllint failed");
            }));
        }
        std::printf("# %d scenes: load %.1f ms, save %.1f ms, sort %.1f ms, change a row and take it back %.1f ms, "
                    "xmllint %.1f ms\n",
                    count, 1000 * fastest(costs.load), 1000 * fastest(costs.save), 1000 * fastest(costs.sort),
                    1000 * fastest(costs.edit), 1000 * fastest(costs.parse));
        return costs;
    };
    constexpr int runsOfShortList = 31;
    constexpr int runsOfLongList = 11;
    const Costs few = measure(shortList, runsOfShortList);
    const Costs many = measure(longList, runsOfLongList);
    print("list_load_growth", fastest(many.load) / fastest(few.load));
    print("list_save_growth", fastest(many.save) / fastest(few.save));
    print("list_sort_growth", fastest(many.sort) / fastest(few.sort));
    print("list_load_vs_parser", fastest(many.load) / fastest(many.parse));
    return 0;
}
