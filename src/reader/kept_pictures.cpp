#include "reader/kept_pictures.h"

#include <algorithm>
#include <limits>

namespace {

/// How many pictures of this size fit into `bytes`, between the bounds.
std::size_t capacity(std::size_t pictureBytes, std::size_t bytes, std::size_t least, std::size_t most)
{
    return pictureBytes == 0 ? least : std::clamp(bytes / pictureBytes, least, most);
}

} // namespace

Frame anotherOwner(const AVFrame &frame)
{
    return Frame(av_frame_clone(&frame));
}

void KeptPictures::add(ShownPicture picture, std::size_t pictureBytes)
{
    m_pictureBytes = pictureBytes;
    m_recent.push_back(std::move(picture));
    while (m_recent.size() > capacity(m_pictureBytes, 24'000'000, 2, 8))
        m_recent.pop_front();
}

void KeptPictures::endWithLast()
{
    m_end = ShownPicture{anotherOwner(*last().frame), last().from, std::numeric_limits<std::int64_t>::max()};
}

const ShownPicture *KeptPictures::at(std::int64_t time) const
{
    if (m_end && time >= m_end->from)
        return &*m_end;
    const auto answers = [time](const ShownPicture &shown) { return shown.from <= time && time < shown.until; };
    for (const auto *pictures : {&m_answers, &m_recent}) {
        if (const auto found = std::find_if(pictures->begin(), pictures->end(), answers); found != pictures->end())
            return &*found;
    }
    return nullptr;
}

const ShownPicture *KeptPictures::lastUpTo(std::int64_t time) const
{
    const ShownPicture *best = nullptr;
    for (const auto *pictures : {&m_answers, &m_recent}) {
        for (const ShownPicture &candidate : *pictures) {
            if (candidate.from <= time && (best == nullptr || candidate.from > best->from))
                best = &candidate;
        }
    }
    return best;
}

const ShownPicture &KeptPictures::keep(ShownPicture answer, const std::vector<std::int64_t> &expected)
{
    const auto isExpected = [&expected](const ShownPicture &kept) {
        return std::any_of(expected.begin(), expected.end(),
                           [&kept](std::int64_t time) { return kept.from <= time && time < kept.until; });
    };
    while (m_answers.size() >= capacity(m_pictureBytes, 40'000'000, 3, 12)) {
        const auto dispensable = std::find_if_not(m_answers.begin(), m_answers.end(), isExpected);
        m_answers.erase(dispensable == m_answers.end() ? m_answers.begin() : dispensable);
    }
    m_answers.push_back(std::move(answer));
    return m_answers.back();
}

bool KeptPictures::isKept(const ShownPicture &picture) const
{
    const auto isSame = [&picture](const ShownPicture &kept) { return &kept == &picture; };
    return (m_end && isSame(*m_end)) || std::any_of(m_answers.begin(), m_answers.end(), isSame);
}
