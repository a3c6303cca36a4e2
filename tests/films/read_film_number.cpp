// read_film_number PICTURE [X Y WIDTH HEIGHT]: prints the frame number that a picture of a film painted by paint_film
// carries, or the part of the picture that is given; fails when there is none.

#include "film_witness.h"

#include <QImage>

#include <cstdio>
#include <cstdlib>

int main(int count, char **arguments)
{
    QRect part;
    if (count == 6)
        part = {std::atoi(arguments[2]), std::atoi(arguments[3]), std::atoi(arguments[4]), std::atoi(arguments[5])};
    const std::optional<int> number = paintedFrameNumber(QImage(QString::fromLocal8Bit(arguments[1])).copy(part));
    if (number)
        std::printf("%d\n", *number);
    return number ? EXIT_SUCCESS : EXIT_FAILURE;
}
