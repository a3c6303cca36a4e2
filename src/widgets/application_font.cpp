#include "widgets/application_font.h"

#include <QStringList>

QFont applicationFont()
{
    QFont font;
    font.setFamilies({"Tahoma", "Liberation Sans", "Arial", "DejaVu Sans Condensed", "Noto Sans"});
    font.setStyleHint(QFont::SansSerif);
    font.setPointSize(8);
    return font;
}
