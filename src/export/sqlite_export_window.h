#pragma once

#include "export/sql_connection.h"

#include <QDialog>

class QPushButton;

/// The window that writes the scene list, each scene with its GIF, into a new database beside the film. Modal;
/// created once, shown and hidden.
class TForm5 : public QDialog {
    Q_OBJECT

public:
    /// Builds the hidden window; sets `Form5`. `owner` is the main window.
    explicit TForm5(QWidget *owner);
    ~TForm5() override;

    // Handlers, named after control and event.

    /// Opens the GIF export dialog.
    void BitBtn1Click();
    /// Exports all scenes and closes the window. The old database is deleted first. Throws UserError if the table
    /// cannot be created or the database does not reach the disk.
    void BitBtn2Click();
    /// Closes the window.
    void BitBtn3Click();

    QPushButton *BitBtn1, *BitBtn2, *BitBtn3;
    TSQLConnection SQLConnection1;
    TSQLQuery SQLQuery1{SQLConnection1};
};

extern TForm5 *Form5;
