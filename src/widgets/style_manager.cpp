#include "widgets/style_manager.h"

#include "widgets/message_box.h"
#include "widgets/smoky_style.h"

#include <QApplication>
#include <QToolTip>

#include <memory>

namespace {

struct NamedStyle {
    const char16_t *name;
    std::unique_ptr<QStyle> (*make)();
};

constexpr NamedStyle styles[] = {
    {u"Smokey Quartz Kamri", [] { return std::unique_ptr<QStyle>(std::make_unique<SmokyStyle>()); }},
};

} // namespace

bool TStyleManager::TrySetStyle(const QString &name, bool showError)
{
    for (const NamedStyle &known : styles) {
        if (name != QStringView(known.name))
            continue;
        std::unique_ptr<QStyle> style = known.make();
        // A desktop's own palette would win over the style's, so it is set, not only offered.
        const QPalette palette = style->standardPalette();
        QApplication::setStyle(style.release());
        QApplication::setPalette(palette);
        QToolTip::setPalette(palette);
        return true;
    }
    if (showError)
        ::showError(QString::fromUtf8("Стиль «%1» не найден.").arg(name));
    return false;
}
