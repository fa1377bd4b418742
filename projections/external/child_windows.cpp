// Windows: CreateProcess and anonymous pipes. Such pipes cannot be waited for, so they are asked.
#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "projections/external/child_process.h"

namespace orvik::oprj {
namespace {

/// Milliseconds that a child has to end by itself when its pipes are closed.
constexpr int kGrace = 3000;
constexpr DWORD kPipeBytes = 1 << 20;

HANDLE handleOf(intptr_t number) { return reinterpret_cast<HANDLE>(number); }
intptr_t numberOf(HANDLE handle) { return reinterpret_cast<intptr_t>(handle); }
int lastError() { return static_cast<int>(GetLastError()); }

/// A handle that is closed with its owner.
class Handle {
 public:
  Handle() = default;
  ~Handle() {
    if (handle_) CloseHandle(handle_);
  }
  Handle(const Handle &) = delete;
  Handle &operator=(const Handle &) = delete;
  HANDLE get() const { return handle_; }
  HANDLE *place() { return &handle_; }
  intptr_t release() { return numberOf(std::exchange(handle_, nullptr)); }

 private:
  HANDLE handle_ = nullptr;
};

/// What the child inherits: these handles and no others of the process.
class HandleList {
 public:
  /// False with the system's number in GetLastError.
  bool make(HANDLE *handles, DWORD count) {
    SIZE_T size = 0;
    InitializeProcThreadAttributeList(nullptr, 1, 0, &size);
    room_.resize(size);
    auto *list = reinterpret_cast<LPPROC_THREAD_ATTRIBUTE_LIST>(room_.data());
    if (!InitializeProcThreadAttributeList(list, 1, 0, &size)) return false;
    list_ = list;
    return UpdateProcThreadAttribute(list_, 0, PROC_THREAD_ATTRIBUTE_HANDLE_LIST, handles,
                                     count * sizeof *handles, nullptr, nullptr);
  }
  ~HandleList() {
    if (list_) DeleteProcThreadAttributeList(list_);
  }
  HandleList() = default;
  HandleList(const HandleList &) = delete;
  HandleList &operator=(const HandleList &) = delete;
  LPPROC_THREAD_ATTRIBUTE_LIST get() const { return list_; }

 private:
  std::vector<char> room_;
  LPPROC_THREAD_ATTRIBUTE_LIST list_ = nullptr;
};

}  // namespace

int ChildProcess::start(const char *path, const char *name) {
  Handle childIn, write, read, childOut;
  if (!CreatePipe(childIn.place(), write.place(), nullptr, kPipeBytes) ||
      !CreatePipe(read.place(), childOut.place(), nullptr, kPipeBytes))
    return lastError();
  DWORD atOnce = PIPE_READMODE_BYTE | PIPE_NOWAIT;
  if (!SetNamedPipeHandleState(write.get(), &atOnce, nullptr, nullptr)) return lastError();
  HANDLE inherited[] = {childIn.get(), childOut.get()};
  for (HANDLE end : inherited)
    if (!SetHandleInformation(end, HANDLE_FLAG_INHERIT, HANDLE_FLAG_INHERIT)) return lastError();
  HandleList list;
  if (!list.make(inherited, 2)) return lastError();
  STARTUPINFOEXA how{};
  how.StartupInfo.cb = sizeof how;
  how.StartupInfo.dwFlags = STARTF_USESTDHANDLES;
  how.StartupInfo.hStdInput = childIn.get();
  how.StartupInfo.hStdOutput = childOut.get();
  how.StartupInfo.hStdError = GetStdHandle(STD_ERROR_HANDLE);
  how.lpAttributeList = list.get();
  std::string line = name;  // the system may write to it
  PROCESS_INFORMATION made;
  if (!CreateProcessA(path, line.data(), nullptr, nullptr, TRUE,
                      NORMAL_PRIORITY_CLASS | EXTENDED_STARTUPINFO_PRESENT, nullptr, nullptr,
                      &how.StartupInfo, &made))
    return lastError();
  CloseHandle(made.hThread);
  process_ = numberOf(made.hProcess);
  write_ = write.release();
  read_ = read.release();
  return 0;
}

ChildProcess::Moved ChildProcess::move(std::span<const uint8_t> &out, std::span<uint8_t> &in,
                                       int milliseconds, int &error) {
  constexpr size_t kMost = 1 << 30;
  const ULONGLONG begin = GetTickCount64();
  for (;;) {
    bool some = false;
    DWORD waiting = 0, passed = 0;
    if (!in.empty() && !PeekNamedPipe(handleOf(read_), nullptr, 0, nullptr, &waiting, nullptr)) {
      error = lastError();
      if (out.empty()) return error == ERROR_BROKEN_PIPE ? Moved::kEnded : Moved::kReadFailed;
    }
    if (waiting > 0) {
      const auto most = static_cast<DWORD>(std::min<size_t>(in.size(), waiting));
      if (!ReadFile(handleOf(read_), in.data(), most, &passed, nullptr)) {
        error = lastError();
        return Moved::kReadFailed;
      }
      in = in.subspan(passed);
      some = passed > 0;
    }
    if (!out.empty()) {
      const auto most = static_cast<DWORD>(std::min(out.size(), kMost));
      if (!WriteFile(handleOf(write_), out.data(), most, &passed, nullptr)) {
        error = lastError();
        return Moved::kWriteFailed;
      }
      out = out.subspan(passed);
      some = some || passed > 0;
    }
    if (some) return Moved::kSome;
    const ULONGLONG took = GetTickCount64() - begin;
    if (milliseconds >= 0 && took >= static_cast<ULONGLONG>(milliseconds)) return Moved::kTimedOut;
    Sleep(took > 0 ? 1 : 0);
  }
}

void ChildProcess::takeWaiting(std::span<uint8_t> &in) {
  std::span<const uint8_t> nothing;
  int error;
  while (!in.empty() && move(nothing, in, 0, error) == Moved::kSome) {
  }
}

bool ChildProcess::disconnect() {
  bool closed = true;
  for (intptr_t *end : {&write_, &read_}) {
    const intptr_t pipe = std::exchange(*end, kNone);
    if (pipe != kNone && !CloseHandle(handleOf(pipe))) closed = false;
  }
  return closed;
}

bool ChildProcess::ended(int milliseconds) {
  if (process_ == kNone) return true;
  const DWORD most = milliseconds < 0 ? INFINITE : static_cast<DWORD>(milliseconds);
  if (WaitForSingleObject(handleOf(process_), most) != WAIT_OBJECT_0) return false;
  CloseHandle(handleOf(std::exchange(process_, kNone)));
  return true;
}

bool ChildProcess::finish() {
  const bool closed = disconnect();
  if (!ended(kGrace)) {
    TerminateProcess(handleOf(process_), 1);
    ended(-1);
  }
  return closed;
}

ChildProcess::~ChildProcess() {
  disconnect();
  if (ended(0)) return;
  TerminateProcess(handleOf(process_), 1);
  ended(-1);
}

}  // namespace orvik::oprj
