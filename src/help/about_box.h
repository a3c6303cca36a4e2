#pragma once

#include "help/picture.h"

#include <QDialog>

class QFrame;
class QLabel;
class QPushButton;
class QTimer;

/// The about box: the program's name, version and page, and a figure that looks at the mouse cursor. Created once,
/// shown modally with `exec()`, hidden again.
class TAboutBox final : public QDialog {
    Q_OBJECT

public:
    /// Builds the hidden box and sets `AboutBox`. `owner` is the main window. No picture is read before it is seen.
    explicit TAboutBox(QWidget *owner);
    ~TAboutBox() override;

    QFrame *Panel1 = nullptr;
    QLabel *ProductName = nullptr;
    QLabel *Version = nullptr;
    QLabel *Copyright = nullptr;
    QPushButton *Comments = nullptr;
    QLabel *Label2 = nullptr;
    QLabel *Label3 = nullptr;
    TImage *Image1 = nullptr;
    TImage *Image2 = nullptr;
    TImage *Image3 = nullptr;
    TImage *Image4 = nullptr;
    TImage *Image5 = nullptr;
    TImage *Image6 = nullptr;
    TImage *Image7 = nullptr;
    TImage *Image8 = nullptr;
    TImage *Image9 = nullptr;
    QPushButton *OKButton = nullptr;
    QTimer *Timer1 = nullptr;

    /// Opens the program's page.
    void CommentsClick();

    /// Shows the picture that faces the mouse cursor and hides the other eight.
    void Timer1Timer();

private:
    void buildPanel();
};

/// The about box; null before it is created and after it has ended.
extern TAboutBox *AboutBox;
