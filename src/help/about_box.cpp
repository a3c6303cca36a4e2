#include "help/about_box.h"

#include "help/direction.h"
#include "help/help_commands.h"

#include <QCursor>
#include <QFrame>
#include <QLabel>
#include <QPushButton>
#include <QTimer>

TAboutBox *AboutBox = nullptr;

namespace {

constexpr QSize clientSize(301, 242);
constexpr QRect panelPlace(8, 8, 285, 188);
constexpr QRect buttonPlace(113, 206, 75, 27);
/// Inside the panel.
constexpr QRect imagePlace(5, 16, 100, 100);
constexpr int textLeft = 114;
constexpr int textWidth = 164;
constexpr int wideLeft = 12;
constexpr int wideWidth = 261;
constexpr int lineHeight = 18;
/// At either end of a link, for the frame that shows the keyboard's focus.
constexpr int linkMargin = 4;

constexpr TImage *TAboutBox::*images[] = {
    &TAboutBox::Image1, &TAboutBox::Image2, &TAboutBox::Image3, &TAboutBox::Image4, &TAboutBox::Image5,
    &TAboutBox::Image6, &TAboutBox::Image7, &TAboutBox::Image8, &TAboutBox::Image9,
};

/// A button that looks like a link; keys and screen readers find it a button all the same.
void makeLink(QPushButton &button)
{
    button.setFlat(true);
    button.setCursor(Qt::PointingHandCursor);
    QFont underlined = button.font();
    underlined.setUnderline(true);
    button.setFont(underlined);
    QPalette palette = button.palette();
    palette.setColor(QPalette::ButtonText, palette.color(QPalette::Link));
    button.setPalette(palette);
}

} // namespace

TAboutBox::TAboutBox(QWidget *owner)
    : QDialog(owner, Qt::Dialog | Qt::WindowTitleHint | Qt::WindowSystemMenuHint | Qt::WindowCloseButtonHint
                         | Qt::MSWindowsFixedSizeDialogHint)
{
    AboutBox = this;
    setObjectName(QStringLiteral("AboutBox"));
    setWindowTitle(QStringLiteral("О программе"));
    setFixedSize(clientSize);

    buildPanel();
    OKButton = new QPushButton(QStringLiteral("OK"), this);
    OKButton->setObjectName(QStringLiteral("OKButton"));
    OKButton->setGeometry(buttonPlace);
    OKButton->setDefault(true);
    OKButton->setFocus();
    connect(OKButton, &QPushButton::clicked, this, &TAboutBox::accept);

    Timer1 = new QTimer(this);
    Timer1->setInterval(100);
    connect(Timer1, &QTimer::timeout, this, &TAboutBox::Timer1Timer);
    Timer1->start();
}

TAboutBox::~TAboutBox()
{
    if (AboutBox == this)
        AboutBox = nullptr;
}

void TAboutBox::buildPanel()
{
    Panel1 = new QFrame(this);
    Panel1->setObjectName(QStringLiteral("Panel1"));
    Panel1->setGeometry(panelPlace);
    // A raised inner and a lowered outer bevel.
    Panel1->setFrameStyle(static_cast<int>(QFrame::Box) | static_cast<int>(QFrame::Sunken));

    int number = 0;
    for (TImage *TAboutBox::*image : images) {
        this->*image = new TImage(++number, Panel1);
        (this->*image)->setGeometry(imagePlace);
    }

    const auto line = [this](const char *name, const QString &text, const QRect &place) {
        auto *label = new QLabel(text, Panel1);
        label->setObjectName(QLatin1String(name));
        label->setTextFormat(Qt::PlainText);
        label->setGeometry(place);
        return label;
    };
    ProductName = line("ProductName", QStringLiteral("\"Таврин\""), {textLeft, 18, textWidth, 28});
    QFont large = font();
    large.setPointSizeF(large.pointSizeF() * 1.75);
    large.setBold(true);
    ProductName->setFont(large);
    Version = line("Version", QStringLiteral("Версия 1.0"), {textLeft, 48, textWidth, lineHeight});
    Label2 = line("Label2", QStringLiteral("Входит в пакет программ"), {textLeft, 78, textWidth, lineHeight});
    Label3 = line("Label3", QStringLiteral("\"Ларец\""), {textLeft, 96, textWidth, lineHeight});
    Copyright = line("Copyright", QStringLiteral("© Авторы «Таврина». Лицензия: GNU GPL 3"),
                     {wideLeft, 132, wideWidth, lineHeight});
    Comments = new QPushButton(productPageAddress(), Panel1);
    Comments->setObjectName(QStringLiteral("Comments"));
    makeLink(*Comments);
    // No wider than its text: beside it there is nothing to press.
    const int textLength = Comments->fontMetrics().horizontalAdvance(Comments->text());
    Comments->setGeometry(wideLeft - linkMargin, 154, textLength + 2 * linkMargin, lineHeight);
    connect(Comments, &QPushButton::clicked, this, &TAboutBox::CommentsClick);
}

void TAboutBox::CommentsClick()
{
    openProductPage();
}

void TAboutBox::Timer1Timer()
{
    // Approximate on purpose: neither the window's frame nor the panel's own place is added.
    const QRect reference(frameGeometry().topLeft() + Image1->pos(), Image1->size());
    const int shown = pictureNumber(directionTo(QCursor::pos(), reference));
    int number = 0;
    for (TImage *TAboutBox::*image : images)
        (this->*image)->setVisible(++number == shown);
}
