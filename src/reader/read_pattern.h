#pragma once

#include <cstdint>
#include <vector>

/// Guesses from the reads so far which pictures are read next. An export reads one picture a second, scene by scene;
/// others read every picture, or every so many.
class ReadPattern {
public:
    explicit ReadPattern(double framesPerSecond);

    /// A read from `index` on has been asked for.
    void note(std::int64_t index);

    /// Indices that may be read next, ascending, for the next `reads` reads. More than one for a read where the
    /// times that the reads so far may stand for leave it open.
    [[nodiscard]] std::vector<std::int64_t> next(int reads) const;

    /// How many reads this run of equal strides probably still has: as many as the one before had, and none at its
    /// end; a few where it has become longer or there was none before.
    [[nodiscard]] int readsLeft() const;

    /// True if the pictures between the guessed ones are not read.
    [[nodiscard]] bool strides() const;

private:
    void startTimes(std::int64_t index);
    void followTimes(std::int64_t index);
    [[nodiscard]] std::int64_t indexAt(double seconds) const;
    [[nodiscard]] bool isStride(std::int64_t distance) const;
    [[nodiscard]] bool isSecond(std::int64_t distance) const;

    double m_second;             ///< in pictures
    std::vector<double> m_times; ///< seconds that the last read may stand for; none if that is not known
    std::int64_t m_stride = 0;   ///< between reads; 0 for one second
    std::int64_t m_last = 0;
    std::int64_t m_lastDistance = 0;
    int m_reads = 0;       ///< of this run
    int m_readsBefore = 0; ///< of the run before; 0 if there was none
};
