#include <stdlib.h>
#include <string.h>

/* What libimagequant sorts with, `qsort` to it. Windows' own leaves elements that compare equal in an order of its own,
   and another palette comes out; this one puts everything where the stable sort of Debian's C library puts it. There are
   never more elements than a palette has colours. */
void qsort(void *base, size_t count, size_t size, int (*compare)(const void *, const void *))
{
    char *const elements = base;
    char moved[64];
    if (size > sizeof moved)
        abort();
    for (size_t next = 1; next < count; ++next) {
        memcpy(moved, elements + next * size, size);
        size_t place = next;
        for (; place > 0 && compare(elements + (place - 1) * size, moved) > 0; --place)
            memcpy(elements + place * size, elements + (place - 1) * size, size);
        memcpy(elements + place * size, moved, size);
    }
}
