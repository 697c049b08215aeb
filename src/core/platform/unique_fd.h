#pragma once

// The one owner of a file descriptor. Every descriptor the core opens lives in
// one of these from the moment it exists, so no return or throw can leak it
// and nothing closes it twice.
class UniqueFd {
public:
    UniqueFd() = default;
    explicit UniqueFd(int fd) noexcept : fd(fd) {}
    UniqueFd(UniqueFd&& other) noexcept : fd(other.release()) {}
    UniqueFd& operator=(UniqueFd&& other) noexcept {
        if (this != &other)
            reset(other.release());
        return *this;
    }
    UniqueFd(const UniqueFd&) = delete;
    UniqueFd& operator=(const UniqueFd&) = delete;
    ~UniqueFd() { reset(); }

    int get() const noexcept { return fd; }
    bool valid() const noexcept { return fd >= 0; }
    explicit operator bool() const noexcept { return valid(); }

    int release() noexcept {
        int owned = fd;
        fd = -1;
        return owned;
    }
    void reset(int replacement = -1) noexcept;

private:
    int fd = -1;
};
