#pragma once
// Received texts kept on disk until they are filed. Pmdirect forgets a message once it
// has handed it out, so every text is written to <DataPath>/spool/incoming before the
// decoder files it, and removed only once it is filed. What could not be filed stays
// there, and start-up files it.
//
// A kept text is "<ns since 1970, 19 digits>-<pid>-<n>.txt", so names sort in order of
// arrival. It is written as that name + ".new", flushed and renamed. Its writer holds an
// flock on it until the text is filed or given up, so that a second Velnor on the same
// data directory never files it too. A ".new" left by a crash is taken for a kept text:
// it may be the only copy of a message already handed out.
#include <string>
#include <string_view>
#include <vector>

namespace velnor {

class IncomingSpool {
 public:
  // One kept text, locked while this object lives.
  class Kept {
   public:
    Kept() = default;
    Kept(int fd, std::string path) : m_fd(fd), m_path(std::move(path)) {}
    Kept(Kept&& other) noexcept;
    Kept& operator=(Kept&& other) noexcept;
    ~Kept();
    const std::string& path() const { return m_path; }
    // Deletes the file and lets it go; throws VError when it cannot be deleted.
    void Remove();

   private:
    friend class IncomingSpool;
    void release();
    int m_fd = -1;
    std::string m_path;
  };

  struct Leftover {
    Kept kept;
    std::string text;
  };

  explicit IncomingSpool(const std::string& dataPath);
  const std::string& dir() const { return m_dir; }

  // Writes the text to a new file, flushed to disk; throws VError when it cannot.
  Kept Keep(std::string_view text);
  // The texts left from earlier runs that no other process holds, oldest first. Empty
  // files are passed over: a crash before anything was written, or a writer just starting.
  std::vector<Leftover> Leftovers();

 private:
  std::string m_dir;
  unsigned m_next = 0;
};

}  // namespace velnor
