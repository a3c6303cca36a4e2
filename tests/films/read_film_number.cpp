// read_film_number PICTURE [X Y WIDTH HEIGHT]: prints the frame number that a picture of a film painted by paint_film
// carries, or the part of the picture that is given; fails when there is none.

#include "film_witness.h"

#include <QImage>

#include <cstdio>
#include <cstdlib>

int main(int count, char **arguments)
{
    if (count != 2 && count != 6) {
        std::fputs("usage: read_film_number PICTURE [X Y WIDTH HEIGHT]\n", stderr);
        return EXIT_FAILURE;
    }
    QImage picture(QString::fromLocal8Bit(arguments[1]));
    if (count == 6)
        picture = picture.copy(std::atoi(arguments[2]), std::atoi(arguments[3]), std::atoi(arguments[4]),
                               std::atoi(arguments[5]));
    const std::optional<int> number = paintedFrameNumber(picture);
    if (!number)
        return EXIT_FAILURE;
    std::printf("%d\n", *number);
    return EXIT_SUCCESS;
}
