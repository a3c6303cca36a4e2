#include "widgets/disk_wait.h"

#include <QApplication>
#include <QDeadlineTimer>
#include <QPointer>
#include <QVariant>
#include <QWidget>
#include <QWindow>

#include <chrono>
#include <cstdlib>
#include <future>
#include <thread>

namespace {

using namespace std::chrono_literals;

/// A window that does not paint itself for so long is not noticed.
constexpr auto unnoticed = 200ms;
/// What a disk that does not hang needs at the end of the program.
constexpr auto lastMoment = 500ms;
constexpr auto pollInterval = 2ms;

// The program and each module that it loads have statics of their own; the application object is one for all.
constexpr const char *endProperty = "programEnd";
constexpr const char *letsThroughProperty = "diskWaitLetsThrough";

/// When the program ends at the latest; invalid as long as nobody ends it.
QVariant programEnd()
{
    return qApp->property(endProperty);
}

bool isInput(const QObject &receiver, QEvent::Type type)
{
    switch (type) {
    case QEvent::KeyPress:
    case QEvent::KeyRelease:
    case QEvent::Shortcut:
    case QEvent::ShortcutOverride:
    case QEvent::InputMethod:
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonRelease:
    case QEvent::MouseButtonDblClick:
    case QEvent::MouseMove:
    case QEvent::Wheel:
    case QEvent::TouchBegin:
    case QEvent::TouchUpdate:
    case QEvent::TouchEnd:
    case QEvent::TouchCancel:
    case QEvent::TabletPress:
    case QEvent::TabletMove:
    case QEvent::TabletRelease:
    case QEvent::NativeGesture:
    case QEvent::ContextMenu:
    case QEvent::DragEnter:
    case QEvent::DragMove:
    case QEvent::Drop:
        return true;
    case QEvent::MetaCall:
        // How readers of the screen press buttons.
        return receiver.inherits("QDBusVirtualObject");
    default:
        return false;
    }
}

} // namespace

/// Lets the windows paint themselves and the main window, which no other owns, be closed.
class DiskWait::OnlyLooks final : public QObject {
public:
    OnlyLooks()
    {
        qApp->installEventFilter(this);
        QGuiApplication::setOverrideCursor(Qt::BusyCursor);
    }
    ~OnlyLooks() override { QGuiApplication::restoreOverrideCursor(); }
    OnlyLooks(const OnlyLooks &) = delete;
    OnlyLooks &operator=(const OnlyLooks &) = delete;

    [[nodiscard]] bool isMainWindowClosed() const { return m_closing && !m_closing->isVisible(); }

    bool eventFilter(QObject *receiver, QEvent *event) override
    {
        if (isInput(*receiver, event->type())) {
            // A shortcut that somebody claims is not looked for.
            event->accept();
            return true;
        }
        // A timer runs again; those of windows paint.
        if (event->type() == QEvent::Timer)
            return qobject_cast<QWindow *>(receiver) == nullptr;
        auto *widget = event->type() == QEvent::Close ? qobject_cast<QWidget *>(receiver) : nullptr;
        if (widget && !widget->parentWidget())
            m_closing = widget;
        // The others close with the main window.
        if (widget && !m_closing) {
            event->ignore();
            return true;
        }
        return false;
    }

private:
    QPointer<QWidget> m_closing;
};

DiskWait::DiskWait()
{
    m_begun.start();
}

DiskWait::~DiskWait() = default;

void DiskWait::goOn()
{
    if (!m_begun.hasExpired(std::chrono::milliseconds(unnoticed).count()) && !programEnd().isValid())
        return;
    if (!m_filter)
        m_filter = std::make_unique<OnlyLooks>();
    const QVariant before = qApp->property(letsThroughProperty);
    qApp->setProperty(letsThroughProperty, true);
    QCoreApplication::processEvents();
    qApp->setProperty(letsThroughProperty, before);
    if (m_filter->isMainWindowClosed())
        endSoon();
    // A thread that hangs in the system would keep every other way out from ending. Nothing is saved at the end.
    if (const QVariant end = programEnd(); end.isValid() && QDeadlineTimer::current().deadline() > end.toLongLong())
        std::_Exit(EXIT_SUCCESS);
}

void DiskWait::endSoon()
{
    if (!programEnd().isValid())
        qApp->setProperty(endProperty, QDeadlineTimer(lastMoment).deadline());
}

bool DiskWait::letsThrough()
{
    return qApp->property(letsThroughProperty).toBool();
}

void waitForDisk(const std::function<void()> &work, const std::function<void()> &meanwhile)
{
    std::packaged_task<void()> task(work);
    std::future<void> done = task.get_future();
    const std::jthread worker(std::move(task));
    DiskWait wait;
    while (done.wait_for(pollInterval) != std::future_status::ready) {
        if (meanwhile)
            meanwhile();
        wait.goOn();
    }
    done.get();
}
