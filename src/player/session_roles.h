#pragma once

#include "player/graph.h"

#include <QObject>

#include <memory>
#include <utility>

// The roles that are the same for every library whose film is played by a session: an object that has the functions
// called here, and the signal `landed` for when the picture of its newest seek is on the screen.

template <typename Session>
class SessionControl final : public MediaControl {
public:
    explicit SessionControl(std::shared_ptr<Session> session) : m_session(std::move(session)) {}
    Status run() override { return m_session->run(); }
    Status pause() override { return m_session->pause(); }
    Status stop() override
    {
        m_session->stop();
        return statusOk;
    }

private:
    std::shared_ptr<Session> m_session;
};

template <typename Session>
class SessionSeeking final : public MediaSeeking {
public:
    explicit SessionSeeking(std::shared_ptr<Session> session) : m_session(std::move(session))
    {
        QObject::connect(m_session.get(), &Session::landed, &m_listener, [this] { settled(); });
    }

private:
    Status doSeek(MediaTime time, SeekTo picture) override { return m_session->seek(time, picture); }
    bool doIsSettled() override { return m_session->isSettled(); }
    bool doIsPaused() override { return m_session->isPaused(); }
    double doPosition() override { return m_session->position(); }
    double doNextPicture() override { return m_session->nextPicture(); }
    double doFrameDuration() override { return m_session->frameDuration(); }
    MediaTime doDuration() override { return m_session->duration(); }
    Status doSetRate(double rate) override { return m_session->setRate(rate); }
    double doRate() override { return m_session->rate(); }

    std::shared_ptr<Session> m_session;
    QObject m_listener;
};
