#pragma once

#include <memory>
#include <string>

/// The directory that holds the named objects of one running program: the program's process and those it starts.
/// It lies in a directory that only the user can enter. Every process of the program holds it by a shared lock,
/// which the kernel drops when the process dies; a directory that nobody holds is garbage, and the next program
/// removes it with what is in it.
class ObjectDirectory {
public:
    /// This process's directory: the starter's, if this process was started through `startHiddenProcess`, else its
    /// own, made at the first call that finds a place for it. Null while the system has none. Lives as long as the process.
    [[nodiscard]] static ObjectDirectory *ofThisProgram();

    virtual ~ObjectDirectory() = default;

    /// For the *at() calls.
    [[nodiscard]] virtual int descriptor() const = 0;
    [[nodiscard]] virtual const std::string &path() const = 0;

    /// Removes all names in it.
    virtual void clear() = 0;
};
