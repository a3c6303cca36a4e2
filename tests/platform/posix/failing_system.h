#pragma once

#include <cerrno>
#include <csignal>
#include <exception>
#include <system_error>

#include <sys/resource.h>
#include <unistd.h>

// Ways to make the system refuse what it usually allows, undone at the end of their scope.

/// Acts as an ordinary user, whom permissions bind, where the tests run as the superuser.
class AsOrdinaryUser {
public:
    AsOrdinaryUser()
    {
        constexpr uid_t nobody = 65534;
        if (root && seteuid(nobody) != 0)
            throw std::system_error(errno, std::generic_category());
    }
    ~AsOrdinaryUser()
    {
        if (root && seteuid(0) != 0)
            std::terminate();
    }
    AsOrdinaryUser(const AsOrdinaryUser &) = delete;
    AsOrdinaryUser &operator=(const AsOrdinaryUser &) = delete;

private:
    bool root = geteuid() == 0;
};

/// No file grows beyond `bytes`: to a program that writes, a full disk.
class FullDisk {
public:
    explicit FullDisk(rlim_t bytes)
    {
        std::signal(SIGXFSZ, SIG_IGN);
        getrlimit(RLIMIT_FSIZE, &before);
        const rlimit limit{bytes, before.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FullDisk() { setrlimit(RLIMIT_FSIZE, &before); }
    FullDisk(const FullDisk &) = delete;
    FullDisk &operator=(const FullDisk &) = delete;

private:
    rlimit before{};
};
