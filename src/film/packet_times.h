#pragma once

#include "film/film_file.h"

#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <set>

/// No moment of a film is before, or after, these.
constexpr std::int64_t earliestTime = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t latestTime = std::numeric_limits<std::int64_t>::max();

/// The presentation times of packets that are read one after another, and up to where they are complete. In the
/// stream's time base.
class PacketTimes {
public:
    explicit PacketTimes(const FilmFile &file);

    /// Notes the next packet's presentation and decoding times, either of which may be AV_NOPTS_VALUE.
    void note(std::int64_t shown, std::int64_t decoded);
    /// No packet follows.
    void end() { m_complete = latestTime; }
    /// Forgets the times: the next packet comes from elsewhere in the film.
    void clear();

    [[nodiscard]] bool empty() const { return m_times.empty(); }
    /// No packet to come is shown at or before this.
    [[nodiscard]] std::int64_t complete() const { return m_complete; }
    /// The first time that is still known: of many packets the early ones' times are forgotten.
    [[nodiscard]] std::optional<std::int64_t> first() const;
    [[nodiscard]] std::optional<std::int64_t> lastUpTo(std::int64_t time) const;
    [[nodiscard]] std::optional<std::int64_t> firstAfter(std::int64_t time) const;

private:
    std::set<std::int64_t> m_times;
    std::int64_t m_complete = earliestTime;
    std::size_t m_reordering;   ///< by how many packets a picture may be decoded before it is shown
    bool m_trustsDecodingTimes; ///< no packet was seen to be shown before it is decoded
};
