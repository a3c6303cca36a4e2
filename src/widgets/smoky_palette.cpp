#include "widgets/smoky_palette.h"

namespace smoky {

QPalette palette()
{
    struct Role {
        QPalette::ColorRole role;
        QRgb active;
        QRgb inactive;
        QRgb disabled;
    };
    static constexpr Role roles[] = {
        {QPalette::Window, 0xFF2C2928, 0xFF2C2928, 0xFF2C2928},
        {QPalette::WindowText, 0xFFE6DFD8, 0xFFE6DFD8, 0xFF7D756F},
        {QPalette::Base, 0xFF211F1E, 0xFF211F1E, 0xFF282524},
        {QPalette::AlternateBase, 0xFF272423, 0xFF272423, 0xFF282524},
        {QPalette::Text, 0xFFE9E3DD, 0xFFE9E3DD, 0xFF7D756F},
        {QPalette::PlaceholderText, 0xFF8F867E, 0xFF8F867E, 0xFF5F5954},
        {QPalette::Button, 0xFF3C3836, 0xFF3C3836, 0xFF312E2C},
        {QPalette::ButtonText, 0xFFEDE7E1, 0xFFEDE7E1, 0xFF7D756F},
        {QPalette::BrightText, 0xFFFFFFFF, 0xFFFFFFFF, 0xFFB0A8A1},
        {QPalette::Light, 0xFF5A5450, 0xFF5A5450, 0xFF433E3B},
        {QPalette::Midlight, 0xFF4A4542, 0xFF4A4542, 0xFF3D3936},
        {QPalette::Mid, 0xFF272423, 0xFF272423, 0xFF272423},
        {QPalette::Dark, 0xFF181615, 0xFF181615, 0xFF1F1D1C},
        {QPalette::Shadow, 0xFF0E0D0D, 0xFF0E0D0D, 0xFF0E0D0D},
        {QPalette::Highlight, 0xFF86603F, 0xFF5F4C3B, 0xFF443E39},
        {QPalette::HighlightedText, 0xFFFFF8F0, 0xFFF0E8E0, 0xFF8A827B},
        {QPalette::Link, 0xFFE0AC78, 0xFFE0AC78, 0xFF6E645B},
        {QPalette::LinkVisited, 0xFFBFA0C4, 0xFFBFA0C4, 0xFF6E645B},
        {QPalette::ToolTipBase, 0xFF46413D, 0xFF46413D, 0xFF46413D},
        {QPalette::ToolTipText, 0xFFF3EDE7, 0xFFF3EDE7, 0xFFF3EDE7},
    };
    QPalette colors;
    for (const Role &role : roles) {
        colors.setColor(QPalette::Active, role.role, QColor::fromRgb(role.active));
        colors.setColor(QPalette::Inactive, role.role, QColor::fromRgb(role.inactive));
        colors.setColor(QPalette::Disabled, role.role, QColor::fromRgb(role.disabled));
    }
    return colors;
}

} // namespace smoky
