#include "export_films.h"

#include "films/film_maker.h"

#include <stdexcept>

namespace {

constexpr int rate = 25;
constexpr int fiveMinutes = 300 * rate;
constexpr int halfMinute = 30 * rate;

// Random colours of `grid` cells, smoothly enlarged; the seed makes it the same in every build.
QString texture(QSize size, QSize grid, int seed, double contrast)
{
    const QString stretched = QString("clip((val-128)*%1+128,0,255)").arg(contrast);
    return QString("color=c=gray:s=%1x%2:r=%3:d=%4,format=gbrp,noise=alls=100:allf=u:all_seed=%5,"
                   "lutrgb=r='%6':g='%6':b='%6',scale=%7x%8:flags=bicubic")
        .arg(grid.width())
        .arg(grid.height())
        .arg(rate)
        .arg(1.0 / rate)
        .arg(seed)
        .arg(stretched)
        .arg(size.width())
        .arg(size.height());
}

QString pannedScene(QSize picture)
{
    const QSize scenery = picture * 8 / 5;
    return texture(scenery, {20, 12}, 3, 2.5) + "[coarse];" + texture(scenery, {100, 62}, 7, 2.0) + "[middle];"
           + texture(scenery, {400, 250}, 9, 1.2) + "[fine];"
           + QString(
                 "[coarse][middle]blend=all_mode=average[larger];"
                 "[larger][fine]blend=all_mode=normal:all_opacity=0.75,eq=contrast=1.2:saturation=0.45,"
                 "format=yuv420p,loop=-1:1:0,setpts=N/%1/TB,fps=%1,split=3[scenery][here][there];"
                 "[scenery]crop=%2:%3:x='(iw-ow)*(0.5+0.45*sin(t*0.35))':y='(ih-oh)*(0.5+0.45*sin(t*0.23))'[ground];"
                 "[here]crop=%2/4:%3/3:x=40:y='40+(ih-oh-80)*(0.5+0.5*sin(t*0.5))',hue=h=120[one];"
                 "[there]crop=%2/5:%3/2:x='(iw-ow)*(0.5+0.5*cos(t*0.7))':y=20,negate[other];"
                 "[ground][one]overlay=x='(W-w)*(0.5+0.5*sin(t*0.9))':y='(H-h)*(0.5+0.4*cos(t*0.6))'[both];"
                 "[both][other]overlay=x='(W-w)*(0.5+0.5*cos(t*1.3))':y='(H-h)*(0.6+0.4*sin(t*0.4))',"
                 "setsar=1,noise=c0s=6:c0f=t[picture]")
                 .arg(rate)
                 .arg(picture.width())
                 .arg(picture.height());
}

FilmSpec film(const QString &file, QSize size, int frames, const QStringList &video)
{
    return {.file = file,
            .size = size,
            .frames = frames,
            .rate = QString::number(rate),
            .video = video,
            .audio = {},
            .graph = pannedScene(size)};
}

} // namespace

QString exportFilm(const QString &name)
{
    const QStringList h264{"-c:v", "libx264", "-preset", "veryfast", "-crf", "23", "-g", "250", "-bf", "3"};
    const QStringList mpeg4{"-c:v", "mpeg4", "-q:v", "4"};
    if (name == "1080p")
        return makeFilm(film("export_1080p.mp4", {1920, 1080}, fiveMinutes, h264));
    if (name == "720p")
        return makeFilm(film("export_720p.mp4", {1280, 720}, fiveMinutes, h264));
    if (name == "avi")
        return makeFilm(film("export_mpeg4.avi", {1920, 1080}, fiveMinutes, mpeg4));
    if (name == "avi_576")
        return makeFilm(film("export_mpeg4_576.avi", {720, 576}, fiveMinutes, mpeg4 + QStringList{"-g", "250"}));
    if (name == "4k")
        return makeFilm(film("export_4k.mp4", {3840, 2160}, halfMinute, h264));
    throw std::logic_error("no film of the export's benchmarks is called " + name.toStdString());
}
