#pragma once

#include "player/directshow/com.h"

#include <qedit.h>

#include <functional>
#include <memory>
#include <mutex>
#include <optional>

/// Watches the pictures of a DirectShow graph on their way to its renderer. A paused renderer holds the first that
/// comes, so this tells when the picture of a seek has come and how it lies to the moment that was sought.
///
/// Times are those of the stream (100 ns), which begin anew with every seek.
class PassingPictures final : private ISampleGrabberCB {
public:
    /// Takes its place before the graph's video renderer; null if there is none or the graph does not allow it. The
    /// graph must be stopped. `begun` is called from a thread of the graph when the first picture after `expect` is
    /// there.
    [[nodiscard]] static std::unique_ptr<PassingPictures> watch(IGraphBuilder &graph, std::function<void()> begun);
    /// The graph must be stopped.
    ~PassingPictures();
    PassingPictures(const PassingPictures &) = delete;
    PassingPictures &operator=(const PassingPictures &) = delete;

    /// From now on the first picture of a seek that follows is waited for.
    void expect();

    /// Where the first picture since `expect` starts that is marked as the first after a seek.
    [[nodiscard]] std::optional<REFERENCE_TIME> begin() const;

    /// Where the newest picture starts.
    [[nodiscard]] std::optional<REFERENCE_TIME> newest() const;

private:
    explicit PassingPictures(std::function<void()> begun) : m_begun(std::move(begun)) {}
    [[nodiscard]] bool insert(IGraphBuilder &graph);

    // The graph asks for no other interface, and this outlives its use there: references are not counted.
    STDMETHODIMP QueryInterface(REFIID identifier, void **object) override;
    STDMETHODIMP_(ULONG) AddRef() override { return 1; }
    STDMETHODIMP_(ULONG) Release() override { return 1; }
    STDMETHODIMP SampleCB(double seconds, IMediaSample *sample) override;
    STDMETHODIMP BufferCB(double, BYTE *, LONG) override { return S_OK; }

    std::function<void()> m_begun;
    Com<ISampleGrabber> m_grabber;
    mutable std::mutex m_mutex; ///< of what follows
    bool m_expects = false;
    std::optional<REFERENCE_TIME> m_begin;
    std::optional<REFERENCE_TIME> m_newest;
};
