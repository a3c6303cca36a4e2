#include "bench_film.h"

#include "films/film_maker.h"

QString benchFilm()
{
    return makeFilm(
        {.file = "bench_1080p.mp4",
         .size = {1920, 1080},
         .frames = benchFilmPictures,
         .video = {"-vf", "noise=c0s=4:c0f=t", "-c:v", "libx264", "-preset", "veryfast", "-crf", "25", "-pix_fmt",
                   "yuv420p", "-x264-params", "keyint=250:min-keyint=250:scenecut=0:bframes=3:b-adapt=0"},
         .audio = {"-c:a", "aac", "-b:a", "96k"}});
}
