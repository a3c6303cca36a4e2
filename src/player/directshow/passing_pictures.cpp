#include "player/directshow/passing_pictures.h"

#include <utility>

namespace {

/// The system's filter that shows an application what passes.
constexpr CLSID sampleGrabber = {0xC1F400A0, 0x3F08, 0x11D3, {0x9F, 0x0B, 0x00, 0x60, 0x08, 0x03, 0x9E, 0x37}};

struct MediaType : AM_MEDIA_TYPE {
    MediaType() : AM_MEDIA_TYPE{} {}
    ~MediaType()
    {
        CoTaskMemFree(pbFormat);
        if (pUnk != nullptr)
            pUnk->Release();
    }
    MediaType(const MediaType &) = delete;
    MediaType &operator=(const MediaType &) = delete;
};

Com<IPin> pinOf(IBaseFilter &filter, PIN_DIRECTION wanted)
{
    Com<IEnumPins> pins;
    Com<IPin> pin;
    if (FAILED(filter.EnumPins(&pins)))
        return nullptr;
    while (pins->Next(1, pin.ReleaseAndGetAddressOf(), nullptr) == S_OK) {
        PIN_DIRECTION direction = PINDIR_OUTPUT;
        if (SUCCEEDED(pin->QueryDirection(&direction)) && direction == wanted)
            return pin;
    }
    return nullptr;
}

/// Where pictures enter the graph's video renderer, and the pin that they come from.
struct Connection {
    Com<IPin> from;
    Com<IPin> to;
};

Connection rendererConnection(IGraphBuilder &graph)
{
    Com<IEnumFilters> filters;
    Com<IBaseFilter> filter;
    if (FAILED(graph.EnumFilters(&filters)))
        return {};
    while (filters->Next(1, filter.ReleaseAndGetAddressOf(), nullptr) == S_OK) {
        Com<IVideoWindow> window;
        if (FAILED(ask(*filter.Get(), IID_IVideoWindow, window)))
            continue;
        Connection connection{nullptr, pinOf(*filter.Get(), PINDIR_INPUT)};
        if (connection.to && SUCCEEDED(connection.to->ConnectedTo(&connection.from)))
            return connection;
    }
    return {};
}

} // namespace

std::unique_ptr<PassingPictures> PassingPictures::watch(IGraphBuilder &graph, std::function<void()> begun)
{
    std::unique_ptr<PassingPictures> pictures(new PassingPictures(std::move(begun)));
    return pictures->insert(graph) ? std::move(pictures) : nullptr;
}

PassingPictures::~PassingPictures()
{
    if (m_grabber)
        m_grabber->SetCallback(nullptr, 0);
}

bool PassingPictures::insert(IGraphBuilder &graph)
{
    const Connection connection = rendererConnection(graph);
    MediaType type;
    Com<IBaseFilter> filter;
    if (!connection.to || FAILED(connection.to->ConnectionMediaType(&type))
        || FAILED(CoCreateInstance(sampleGrabber, nullptr, CLSCTX_INPROC_SERVER, IID_IBaseFilter, &filter))
        || FAILED(ask(*filter.Get(), IID_ISampleGrabber, m_grabber)) || FAILED(m_grabber->SetMediaType(&type))
        || FAILED(m_grabber->SetBufferSamples(FALSE)) || FAILED(m_grabber->SetCallback(this, 0))
        || FAILED(graph.AddFilter(filter.Get(), L"Passing pictures")))
        return false;
    const Com<IPin> in = pinOf(*filter.Get(), PINDIR_INPUT);
    const Com<IPin> out = pinOf(*filter.Get(), PINDIR_OUTPUT);
    return in && out && SUCCEEDED(graph.Disconnect(connection.from.Get()))
           && SUCCEEDED(graph.Disconnect(connection.to.Get()))
           && SUCCEEDED(graph.ConnectDirect(connection.from.Get(), in.Get(), nullptr))
           && SUCCEEDED(graph.ConnectDirect(out.Get(), connection.to.Get(), nullptr));
}

void PassingPictures::expect()
{
    const std::lock_guard lock(m_mutex);
    m_expects = true;
    m_begin.reset();
}

std::optional<REFERENCE_TIME> PassingPictures::begin() const
{
    const std::lock_guard lock(m_mutex);
    return m_begin;
}

std::optional<REFERENCE_TIME> PassingPictures::newest() const
{
    const std::lock_guard lock(m_mutex);
    return m_newest;
}

STDMETHODIMP PassingPictures::QueryInterface(REFIID identifier, void **object)
{
    const bool isKnown = identifier == IID_IUnknown || identifier == IID_ISampleGrabberCB;
    *object = isKnown ? static_cast<ISampleGrabberCB *>(this) : nullptr;
    return isKnown ? S_OK : E_NOINTERFACE;
}

STDMETHODIMP PassingPictures::SampleCB(double, IMediaSample *sample)
{
    REFERENCE_TIME start = 0;
    REFERENCE_TIME end = 0;
    // A picture that is only decoded for others to come is not shown.
    if (sample->IsPreroll() == S_OK || FAILED(sample->GetTime(&start, &end)))
        return S_OK;
    // Pictures from before the seek may still pass while the graph is being emptied for it.
    const bool followsSeek = sample->IsDiscontinuity() == S_OK;
    {
        const std::lock_guard lock(m_mutex);
        m_newest = start;
        if (!m_expects || !followsSeek)
            return S_OK;
        m_expects = false;
        m_begin = start;
    }
    m_begun();
    return S_OK;
}
