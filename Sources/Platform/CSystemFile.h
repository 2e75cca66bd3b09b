// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace kor
{

// An open file of the system, as thin as can be: each call is one service of the system and returns its error code,
// 0 when it went well. Paths are UTF-8. Belongs to one thread at a time.
class CSystemFile
{
public:
    enum class Mode
    {
        read,                                       // must exist
        update,                                     // must exist; reading and writing
        create,                                     // emptied if it exists
        append                                      // writes go to the end
    };

    CSystemFile() = default;
    CSystemFile(const CSystemFile&) = delete;
    CSystemFile& operator=(const CSystemFile&) = delete;
    ~CSystemFile() { close(); }

    /// Opens a file; a directory is refused. An open one is closed first.
    int open(const std::string& path, Mode mode);

    /// Takes one of the process's own streams: 0 input, 1 output, 2 errors. It is not closed later.
    void borrow(int standardStream);

    bool isOpen() const noexcept { return handle >= 0; }

    /// Closes the file, whatever is returned. Does nothing when not open.
    int close();

    /// Reads or writes until `count` bytes are done, the file ends or the system fails; `done` says how far it came.
    int read(void* buffer, std::size_t count, std::size_t& done);
    int write(const void* buffer, std::size_t count, std::size_t& done);

    int position(std::int64_t& position);
    int setPosition(std::int64_t position);
    int advance(std::int64_t count);                // from where it is
    int size(std::int64_t& size);

    /// Keeps other processes' and handles' lock() waiting until unlock() or close(); waits for them likewise.
    int lock();
    int unlock();

    /// The same without waiting: isBusy tells whether another holds the lock.
    int tryLock();
    static bool isBusy(int code) noexcept;

    /// Returns when the contents are on the disk.
    int flush();

    /// Puts the file `from` in the place of `to` in one step, and makes the change durable.
    static int rename(const std::string& from, const std::string& to);
    static int remove(const std::string& path);

    /// Whether an open that gave this code found nothing of that name. A link that leads nowhere is something. What
    /// another process has made of the name since does not count.
    static bool isMissing(int code, const std::string& path);

    /// Number of this process, for names that must not meet another process's.
    static long processId();

private:
    int handle = -1;
    bool isBorrowed = false;
};

}
