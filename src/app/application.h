#pragma once

#include <QApplication>

/// The application object. An error that a command leaves uncaught ends that command, is shown in the standard
/// error box, and the program goes on. Standard buttons and dialogs speak Russian.
class TApplication final : public QApplication {
public:
    TApplication(int &argc, char **argv);

    bool notify(QObject *receiver, QEvent *event) override;
};
