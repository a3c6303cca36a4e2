// What the exports cost and give, beside the ffmpeg program doing the same:
//   gif_export_*_vs_ffmpeg  wall time of the export of twenty scenes of five seconds, from the button to the finish,
//                           over that of a shell loop of ffmpeg; the fastest of rounds in turn. The twenty ticks
//                           of the dialog's timer are two seconds of ours: a small film, such as avi_576, cannot get
//                           far below their share of ffmpeg's time
//   gif_psnr_gain_db        how much nearer our pictures are than those of ffmpeg with a palette for each picture, and
//   gif_bytes_vs_ffmpeg     how many bytes they take over its bytes: the worse of the two materials each
//   sqlite_rows_growth      time for ten thousand scenes over that for a thousand, with images of 40 kB
// An argument names the only part to be measured: pictures, database, 1080p, 720p, avi or
// avi_576.

#include "export_films.h"
#include "gif_material.h"

#include "../player/figures.h"

#include "export/bitmap.h"
#include "export/gif_export_dialog.h"
#include "export/gif_image.h"
#include "export/sqlite_export_window.h"
#include "player/player_state.h"
#include "scenes/scene.h"
#include "scenes/scene_dialog.h"
#include "scenes/scene_list_window.h"
#include "util/application_folder.h"
#include "util/film_files.h"
#include "widgets/message_box.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QPushButton>
#include <QTemporaryDir>
#include <QWindow>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <memory>
#include <stdexcept>

namespace {

const QString finished = QStringLiteral("Экспорт завершён");

/// The windows that the exports need, as the program creates them, with a copy of the film's name in a folder of its
/// own, so that what is made is found there.
class Program {
public:
    explicit Program(const QString &film)
    {
        CurPath = QStringLiteral(TAVRIN_BIN_FOLDER);
        VideoPath = folder.filePath(QStringLiteral("film") + QFileInfo(film).suffix().prepend('.'));
        if (!QFile::link(film, VideoPath))
            throw std::runtime_error("no link to the film");
        sceneDialog = std::make_unique<TForm2>(&owner);
        list = std::make_unique<TForm3>(&owner);
        dialog = std::make_unique<TForm4>(&owner);
        window = std::make_unique<TForm5>(&owner);
        setMessageBoxAnswer([this](const QString &text) { said = text; });
    }
    ~Program() { setMessageBoxAnswer({}); }
    Program(const Program &) = delete;
    Program &operator=(const Program &) = delete;

    void setScenes(int count, double first, double distance, const QString &length) const
    {
        list->StringGrid1->change([&](GridCells &cells) {
            clearList(cells);
            for (int i = 0; i < count; ++i) {
                Scene scene;
                scene.position = QString::number(first + distance * i);
                scene.length = length;
                scene.type = scene.title = QStringLiteral("Погоня у реки");
                setScene(cells, rowForNewScene(cells), scene);
            }
        });
    }

    /// Milliseconds from a press of the button until the program says that it has finished.
    double run(QWidget &shown, QPushButton *button)
    {
        said.clear();
        shown.show();
        while (!shown.windowHandle()->isExposed())
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        const double start = steadyMilliseconds();
        button->click();
        while (said.isEmpty())
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        const double duration = steadyMilliseconds() - start;
        if (said != finished)
            throw std::runtime_error(said.toStdString());
        return duration;
    }

    [[nodiscard]] QString images() const { return imagesFolderOf(VideoPath); }

    QTemporaryDir folder;
    QWidget owner;
    std::unique_ptr<TForm2> sceneDialog;
    std::unique_ptr<TForm3> list;
    std::unique_ptr<TForm4> dialog;
    std::unique_ptr<TForm5> window;

private:
    QString said;
};

/// The run that the machine's other work disturbed least; it only ever adds.
double fastest(const std::vector<double> &values)
{
    return *std::min_element(values.begin(), values.end());
}

void runShell(const QString &script, const QStringList &arguments)
{
    QProcess shell;
    shell.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    shell.start(QStringLiteral("sh"), QStringList{"-c", script, "sh"} + arguments);
    if (!shell.waitForFinished(-1) || shell.exitCode() != 0)
        throw std::runtime_error("the shell loop of ffmpeg failed");
}

constexpr int scenes = 20;
constexpr int sceneSeconds = 5;
constexpr double firstScene = 3.4;
constexpr double sceneDistance = 14.7;

/// The number of pictures of each GIF in a folder must be that of its scene.
void checkImages(const QString &folder)
{
    const QStringList files = QDir(folder).entryList({"*.gif"}, QDir::Files);
    if (files.size() != scenes)
        throw std::runtime_error("GIFs are missing");
    for (const QString &file : files) {
        QProcess probe;
        probe.start("ffprobe", {"-v", "error", "-count_packets", "-show_entries", "stream=nb_read_packets", "-of",
                                "csv=p=0", QDir(folder).filePath(file)});
        if (!probe.waitForFinished() || probe.readAllStandardOutput().trimmed().toInt() != sceneSeconds)
            throw std::runtime_error("a GIF lacks pictures: " + file.toStdString());
    }
}

void measureExport(const QString &figure, const QString &film)
{
    constexpr int rounds = 3;
    Program program(film);
    program.setScenes(scenes, firstScene, sceneDistance, QString::number(sceneSeconds));
    QStringList starts;
    for (int i = 0; i < scenes; ++i)
        starts += QString::number(firstScene + sceneDistance * i);
    const QString loop = QStringLiteral(
        "film=$1 folder=$2; shift 2; for start; do ffmpeg -nostdin -v error -y -ss \"$start\" -t 5 -i \"$film\" -vf "
        "\"fps=1:round=up,crop='min(iw,ih)':'min(iw,ih)':0:0,scale=200:200:flags=neighbor,settb=1/"
        "4,setpts=N,split[a][b];"
        "[a]palettegen[p];[b][p]paletteuse\" -r 4 -loop 0 \"$folder/$start.gif\" || exit 1; done");

    std::vector<double> ours;
    std::vector<double> theirs;
    for (int round = 0; round < rounds; ++round) {
        QDir(program.images()).removeRecursively();
        ours.push_back(program.run(*program.dialog, program.dialog->BitBtn1));
        checkImages(program.images());
        const QTemporaryDir folder;
        const double start = steadyMilliseconds();
        runShell(loop, QStringList{film, folder.path()} + starts);
        theirs.push_back(steadyMilliseconds() - start);
        checkImages(folder.path());
        std::printf("# %s: %.2f s, ffmpeg %.2f s\n", qPrintable(QFileInfo(film).fileName()), ours.back() / 1e3,
                    theirs.back() / 1e3);
        std::fflush(stdout);
    }
    printFigure(qPrintable(figure), fastest(ours) / fastest(theirs));
}

Bitmap bitmapOf(const QImage &picture)
{
    Bitmap bitmap(picture.width(), picture.height());
    for (int y = 0; y < picture.height(); ++y) {
        const uchar *from = picture.constScanLine(y);
        std::uint8_t *to = bitmap.ScanLine(y);
        for (int x = 0; x < picture.width(); ++x, from += 3, to += 3) {
            to[0] = from[2];
            to[1] = from[1];
            to[2] = from[0];
        }
    }
    return bitmap;
}

QByteArray run(const QStringList &ffmpegArguments, const QByteArray &input = {})
{
    QProcess ffmpeg;
    ffmpeg.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    ffmpeg.start("ffmpeg", QStringList{"-v", "error", "-y"} + ffmpegArguments);
    ffmpeg.write(input);
    ffmpeg.closeWriteChannel();
    if (!ffmpeg.waitForFinished(-1) || ffmpeg.exitCode() != 0)
        throw std::runtime_error("ffmpeg failed");
    return ffmpeg.readAllStandardOutput();
}

/// The mean likeness of a GIF's pictures, as ffmpeg decodes them, to what they were made from, in decibels.
double likeness(const QString &gif, const QByteArray &source, std::size_t pictures)
{
    const QByteArray decoded = run({"-i", gif, "-vsync", "passthrough", "-f", "rawvideo", "-pix_fmt", "rgb24", "-"});
    if (decoded.size() != source.size())
        throw std::runtime_error("a GIF lacks pictures");
    const auto pictureBytes = source.size() / static_cast<qsizetype>(pictures);
    double sum = 0;
    for (qsizetype first = 0; first < source.size(); first += pictureBytes) {
        double squares = 0;
        for (qsizetype i = first; i < first + pictureBytes; ++i) {
            const int off = static_cast<uchar>(decoded[i]) - static_cast<uchar>(source[i]);
            squares += off * off;
        }
        sum += 10 * std::log10(255.0 * 255.0 * static_cast<double>(pictureBytes) / std::max(squares, 1.0));
    }
    return sum / static_cast<double>(pictures);
}

void measurePictures()
{
    const QTemporaryDir folder;
    const QString ourFile = folder.filePath("ours.gif");
    const QString theirFile = folder.filePath("theirs.gif");
    double leastGain = std::numeric_limits<double>::infinity();
    double mostBytes = 0;
    for (const GifMaterial &material : {photographicMaterial(), drawnMaterial()}) {
        QByteArray source;
        for (const QImage &picture : material.pictures) {
            for (int y = 0; y < picture.height(); ++y)
                source.append(reinterpret_cast<const char *>(picture.constScanLine(y)), qsizetype{3} * picture.width());
        }
        QFile file(ourFile);
        if (!file.open(QIODevice::WriteOnly))
            throw std::runtime_error("no room for a GIF");
        const double start = steadyMilliseconds();
        TGIFImage gif(200, 200,
                      [&](std::string_view bytes) { file.write(bytes.data(), static_cast<qint64>(bytes.size())); });
        for (const QImage &picture : material.pictures)
            gif.Add(bitmapOf(picture));
        gif.finish();
        const double duration = steadyMilliseconds() - start;
        file.close();
        run({"-f", "rawvideo", "-pix_fmt", "rgb24", "-s", "200x200", "-r", "4", "-i", "-", "-vf",
             "split[a][b];[a]palettegen=stats_mode=single[p];[b][p]paletteuse=new=1", "-loop", "0", theirFile},
            source);

        const double ourLikeness = likeness(ourFile, source, material.pictures.size());
        const double theirLikeness = likeness(theirFile, source, material.pictures.size());
        const double bytes =
            static_cast<double>(QFileInfo(ourFile).size()) / static_cast<double>(QFileInfo(theirFile).size());
        std::printf("# %s: %.2f dB, ffmpeg %.2f dB; bytes %.3f of ffmpeg's; %.1f ms a picture\n", material.name.c_str(),
                    ourLikeness, theirLikeness, bytes, duration / static_cast<double>(material.pictures.size()));
        leastGain = std::min(leastGain, ourLikeness - theirLikeness);
        mostBytes = std::max(mostBytes, bytes);
    }
    printFigure("gif_psnr_gain_db", leastGain);
    printFigure("gif_bytes_vs_ffmpeg", mostBytes);
}

class PaintCounter final : public QObject {
public:
    int paints = 0;
    bool eventFilter(QObject *, QEvent *event) override
    {
        paints += event->type() == QEvent::Paint;
        return false;
    }
};

void measureDatabase()
{
    constexpr int most = 10'000;
    constexpr int fewest = 1'000;
    constexpr qsizetype imageBytes = 40'000;
    // No film is opened for this.
    Program program(QCoreApplication::applicationFilePath());
    QDir().mkpath(program.images());
    QByteArray image(imageBytes, Qt::Uninitialized);
    for (int i = 0; i < most; ++i) {
        std::memset(image.data(), i, static_cast<std::size_t>(image.size()));
        QFile file(gifFileOf(VideoPath, QString::number(i), "5"));
        if (!file.open(QIODevice::WriteOnly) || file.write(image) != image.size())
            throw std::runtime_error("no room for the images");
    }
    PaintCounter counter;
    program.window->BitBtn2->installEventFilter(&counter);
    const auto timeOf = [&](int count) {
        // Deleting the database of the run before would count for this one.
        QFile::remove(databaseFileOf(VideoPath));
        program.setScenes(count, 0, 1, "5");
        counter.paints = 0;
        const double duration = program.run(*program.window, program.window->BitBtn2);
        QProcess sqlite;
        sqlite.start("sqlite3", {databaseFileOf(VideoPath), "select count(*), sum(length(image)) from scenes"});
        sqlite.waitForFinished();
        if (sqlite.readAllStandardOutput().trimmed()
            != QByteArray::number(count) + '|' + QByteArray::number(count * imageBytes))
            throw std::runtime_error("rows are missing");
        if (counter.paints == 0)
            throw std::runtime_error("the window was not painted");
        return duration;
    };
    // Other work on the disk only ever adds to a run: the fastest ones count.
    double few = std::numeric_limits<double>::infinity();
    double many = few;
    for (int round = 0; round < 5; ++round) {
        few = std::min(few, timeOf(fewest));
        many = std::min(many, timeOf(most));
    }
    std::printf("# %d scenes: %.2f s, %d scenes: %.2f s\n", fewest, few / 1e3, most, many / 1e3);
    printFigure("sqlite_rows_growth", many / few);
}

} // namespace

int main(int argc, char **argv)
{
    QApplication application(argc, argv);
    const QString only = QString::fromLocal8Bit(argc > 1 ? argv[1] : "");
    try {
        const auto wanted = [&](const char *part) { return only.isEmpty() || only == part; };
        if (wanted("pictures"))
            measurePictures();
        if (wanted("database"))
            measureDatabase();
        for (const char *film : {"1080p", "720p", "avi", "avi_576"}) {
            if (wanted(film))
                measureExport(QStringLiteral("gif_export_%1_vs_ffmpeg").arg(film), exportFilm(film));
        }
    } catch (const std::exception &error) {
        std::fprintf(stderr, "export_bench: %s\n", error.what());
        return 1;
    }
    return 0;
}
