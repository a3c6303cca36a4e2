#include "player/graph.h"

#include "widgets/disk_wait.h"

#include <QFileInfo>

Status MediaSeeking::setPositions(MediaTime current, SeekTo picture)
{
    const bool stands = isSettled() && doIsPaused();
    const MediaTime end = duration();
    if (end > 0) {
        m_asked = std::clamp<MediaTime>(current, 0, end - 1);
    } else {
        const double frame = doFrameDuration();
        if (!stands || picture != SeekTo::NextPicture || frame <= 0.0)
            return statusOk;
        m_asked = currentPosition() + mediaTimeAt(frame);
    }
    const Status status = doSeek(*m_asked, stands ? picture : SeekTo::Time);
    if (failed(status))
        m_asked.reset();
    return status;
}

MediaTime MediaSeeking::currentPosition()
{
    // Asking may be what lets the body see that it has settled.
    if (!isSettled() && m_asked)
        return *m_asked;
    const double frame = doFrameDuration();
    const double until = doIsPaused() ? doNextPicture() : std::numeric_limits<double>::infinity();
    return pictureMediaTime(doPosition(), frame > 0.0 ? 1.0 / frame : 0.0, until);
}

Status GraphBuilder::renderFile(const QString &path)
{
    const QFileInfo file(path);
    bool isFile = false;
    waitForDisk([&] { isFile = file.isFile(); });
    return isFile ? doRenderFile(file.absoluteFilePath()) : statusFailure;
}
