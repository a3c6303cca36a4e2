// try_film FILM: plays a film painted by paint_film in the program's engine and exports from it, and prints in one line
// what does not go as it should: "right", or some of the words below, with what was seen. The pictures that the ffmpeg
// program decodes are the measure. Succeeds if all is right; fails with 2 if ffmpeg decodes no picture of the file.

#include "engine_player.h"
#include "films/film_maker.h"
#include "films/film_witness.h"

#include "export/frame_reader.h"
#include "export/scene_gif.h"
#include "util/media_time.h"
#include "util/numbers.h"

#include <QApplication>
#include <QTemporaryDir>
#include <QTest>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>

namespace {

constexpr QSize panelSize(352, 288);
constexpr int steps = 10;

/// A film's pictures, as ffmpeg decodes them one after another.
class Witness {
public:
    explicit Witness(const QString &film)
    {
        const QByteArray pixels =
            outputOf("ffmpeg", {"-nostdin", "-loglevel", "quiet", "-i", film, "-map", "0:v:0", "-vsync", "passthrough",
                                "-vf", QString("scale=%1:%2").arg(panelSize.width()).arg(panelSize.height()),
                                "-pix_fmt", "gray", "-f", "rawvideo", "-"});
        const qsizetype pictureBytes = qsizetype(panelSize.width()) * panelSize.height();
        for (qsizetype at = 0; at + pictureBytes <= pixels.size(); at += pictureBytes) {
            const QImage picture(reinterpret_cast<const uchar *>(pixels.constData()) + at, panelSize.width(),
                                 panelSize.height(), panelSize.width(), QImage::Format_Grayscale8);
            m_numbers.push_back(paintedFrameNumber(picture).value_or(-1));
            m_small.push_back(small(picture));
        }
        m_readable = std::find(m_numbers.begin(), m_numbers.end(), -1) == m_numbers.end();
    }

    [[nodiscard]] int count() const { return static_cast<int>(m_numbers.size()); }
    /// False if the codec does not keep the painted number: pictures are known by their likeness then.
    [[nodiscard]] bool isReadable() const { return m_readable; }

    /// Which of the film's pictures this is; -1 if none.
    [[nodiscard]] int placeOf(const QImage &picture) const
    {
        const auto place = m_readable ? std::find(m_numbers.begin(), m_numbers.end(), paintedFrameNumber(picture))
                                      : m_numbers.begin() + likest(picture);
        return place == m_numbers.end() ? -1 : static_cast<int>(place - m_numbers.begin());
    }

private:
    static QImage small(const QImage &picture)
    {
        return picture.convertToFormat(QImage::Format_Grayscale8)
            .scaled(88, 72, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    }

    [[nodiscard]] std::ptrdiff_t likest(const QImage &picture) const
    {
        const QImage looked = small(picture);
        const auto unlikeness = [&looked](const QImage &known) {
            qint64 sum = 0;
            for (int y = 0; y < looked.height(); ++y) {
                for (int x = 0; x < looked.width(); ++x)
                    sum += std::abs(looked.constScanLine(y)[x] - known.constScanLine(y)[x]);
            }
            return sum;
        };
        const auto nearest =
            std::min_element(m_small.begin(), m_small.end(), [&](const QImage &one, const QImage &other) {
                return unlikeness(one) < unlikeness(other);
            });
        return nearest - m_small.begin();
    }

    std::vector<int> m_numbers;
    std::vector<QImage> m_small;
    bool m_readable = true;
};

/// In the size in which ffmpeg's pictures are looked at, where coarse coding is as readable as there.
QImage asWitnessed(const QImage &picture)
{
    return picture.scaled(panelSize, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
}

class Trial {
public:
    Trial(QString film, const Witness &witness) : m_film(std::move(film)), m_witness(witness) {}

    [[nodiscard]] QStringList faults()
    {
        play();
        exportPictures();
        return m_faults;
    }

private:
    void fault(const char *word, int wanted, int seen)
    {
        m_faults << QString("%1 (%2 for %3)").arg(word).arg(seen).arg(wanted);
    }

    [[nodiscard]] int shown() { return m_witness.placeOf(m_player.picture()); }

    /// False if another picture is there, and stays there.
    bool expect(const char *word, int place)
    {
        // On a busy machine what has landed may be drawn a little later.
        constexpr int drawnMilliseconds = 500;
        const bool isThere = QTest::qWaitFor([&] { return shown() == place; }, drawnMilliseconds);
        const auto counted = static_cast<int>(frameNumber(GetPosition(), fps));
        if (!isThere) {
            fault(word, place, shown());
        } else if (counted != place && !m_miscounted) {
            fault("counter", place, counted);
            m_miscounted = true;
        }
        return isThere;
    }

    void play()
    {
        m_player.openPaused(m_film);
        if (!OPENED || srcWidth == 0) {
            m_faults << (OPENED ? "open (no picture)" : "open");
            return;
        }
        if (!expect("first", 0))
            return;
        const int last = std::min(steps, m_witness.count() - 1);
        bool right = true;
        for (int place = 1; place <= last && right; ++place) {
            m_player.stepForward();
            right = expect("forward", place);
        }
        for (int place = last - 1; place >= 0 && right; --place) {
            m_player.stepBack();
            right = expect("back", place);
        }
        const int middle = m_witness.count() / 2;
        m_player.seekTo(static_cast<MediaTime>(std::ceil(middle / fps * unitsPerSecond)));
        (void)expect("seek", middle);
        m_player.seekTo(0);
        (void)expect("return", 0);
    }

    void exportPictures()
    {
        FRAME_READER reader;
        reader.SetShareName(QString("try_film_%1").arg(QApplication::applicationPid()));
        reader.SetEXE(QStringLiteral(TAVRIN_FRAME_READER));
        reader.Run();
        if (!reader.Open(m_film)) {
            m_faults << "export (not opened)";
            return;
        }
        reader.SetFramesBuf(1);
        reader.ResizeVideoBuf();
        // In the order of a scene in the film's middle and one at its beginning.
        for (const int place : {m_witness.count() / 2, 0, std::min(steps, m_witness.count() - 1)}) {
            reader.Seek(place);
            const bool isRead = reader.Read() && reader.GetData();
            const QImage picture(reader.localBuffer().data(), reader.width(), reader.height(),
                                 qsizetype(3) * reader.width(), QImage::Format_BGR888);
            const int read = isRead ? m_witness.placeOf(asWitnessed(picture)) : -1;
            if (read != place)
                fault("export", place, read);
        }
        const QTemporaryDir folder;
        const QString gif = folder.filePath("scene.gif");
        if (!writeSceneGif(reader, gif, 0.0, 1.0, [](int, int) {}) || QImage(gif).size() != QSize(200, 200))
            m_faults << "export (no GIF)";
        (void)reader.Exit();
    }

    QString m_film;
    const Witness &m_witness;
    EnginePlayer m_player{makeTestedGraphSystem, panelSize};
    QStringList m_faults;
    bool m_miscounted = false;
};

} // namespace

int main(int count, char **arguments)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QApplication application(count, arguments);
    const QString film = QApplication::arguments().value(1);
    try {
        const Witness witness(film);
        if (witness.count() == 0)
            return 2;
        const QStringList faults = Trial(film, witness).faults();
        const QByteArray told = (faults.isEmpty() ? QString("right") : faults.join(", ")).toUtf8();
        std::printf("%s%s\n", told.constData(), witness.isReadable() ? "" : " [known by likeness]");
        return faults.isEmpty() ? EXIT_SUCCESS : EXIT_FAILURE;
    } catch (const std::runtime_error &) {
        return 2;
    }
}
