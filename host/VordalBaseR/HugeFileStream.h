// Reading of files that may be larger than 4 GB.
#pragma once

#include <VordalBaseR/CString.h>
#include <VordalBaseR/Export.h>

#include <cstdint>
#include <memory>

/// One open file. It closes itself when it goes. Not to be used from two threads at once; reading blocks the thread for
/// as long as the disk takes. Nothing is thrown but for want of memory.
class VORDAL_API HugeFileStream
{
public:
    HugeFileStream();
    HugeFileStream(HugeFileStream const&) = delete;
    HugeFileStream& operator=(HugeFileStream const&) = delete;
    ~HugeFileStream();

    /// Opens a file by its full name, after closing the one that was open, and stands at its start. `write` opens it
    /// for writing too, `create` makes it when it is not there and empties it when it is; both false only read. False
    /// when there is no such file, when it is a folder or when the host may not open it; nothing is open then.
    bool Open(CString const& fileName, bool write, bool create);
    /// Bytes in the file; 0 when nothing is open.
    std::uint64_t GetSize() const;
    /// Reads on from where the last Read ended and gives the number of bytes put into `buffer`: fewer than `size` at
    /// the end of the file or on a read error, 0 when nothing is open. The rest of the buffer is untouched.
    std::uint64_t Read(void* buffer, std::uint64_t size);
    /// Closes the file; nothing when none is open.
    void Close();

    /// Removes a file from disk by its full name. False when it was not there or could not be removed. Any thread.
    static bool Remove(CString const& fileName);

private:
    struct State;
    std::unique_ptr<State> m_state;
};
