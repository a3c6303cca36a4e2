#pragma once

#include "film/ffmpeg_handle.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <vector>

/// A decoded picture and the times it is known to be the answer for: [from, until).
struct ShownPicture {
    Frame frame;
    std::int64_t from = 0;
    std::int64_t until = 0;
};

/// Another owner of the same pixels; null without memory for it.
[[nodiscard]] Frame anotherOwner(const AVFrame &frame);

/// Pictures that are at hand: the last ones decoded, those that were answers, and the film's last one.
class KeptPictures {
public:
    /// Adds a picture that was just decoded. `pictureBytes` tells how many of its size may be held; 0 if unknown.
    void add(ShownPicture picture, std::size_t pictureBytes);
    /// The picture added last is the film's last one.
    void endWithLast();
    [[nodiscard]] const ShownPicture &last() const { return m_recent.back(); }

    /// The picture known to be the answer for this time, or null.
    [[nodiscard]] const ShownPicture *at(std::int64_t time) const;
    /// The last picture at or before this time, whether or not others lie between; null if there is none.
    [[nodiscard]] const ShownPicture *lastUpTo(std::int64_t time) const;

    /// Keeps an answer longer than those that are for none of the `expected` times.
    const ShownPicture &keep(ShownPicture answer, const std::vector<std::int64_t> &expected);
    /// True if this picture of ours will be kept.
    [[nodiscard]] bool isKept(const ShownPicture &picture) const;

private:
    std::deque<ShownPicture> m_recent;
    std::deque<ShownPicture> m_answers;
    std::optional<ShownPicture> m_end;
    std::size_t m_pictureBytes = 0;
};
