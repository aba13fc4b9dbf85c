#include "tests/support/kernel.h"

#include <linux/filter.h>
#include <linux/seccomp.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <future>

#include "tests/support/unit.h"

namespace {

// By kind.
const std::vector<unsigned> kCalls[] = {
#ifdef __x86_64__
    {SYS_clone, SYS_clone3, SYS_fork, SYS_vfork}, {SYS_wait4}, {SYS_pselect6, SYS_select}};
#else
    {SYS_clone, SYS_clone3}, {SYS_wait4}, {SYS_pselect6}};
#endif

// Has this thread and all that it starts ask before such a call. Returns the descriptor that the
// questions come from, or -1.
int watchThisThread() {
    std::vector<sock_filter> filter = {
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr))};
    for (const auto& kind : kCalls) {
        for (const unsigned call : kind) {
            filter.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, call, 0, 1));
            filter.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_USER_NOTIF));
        }
    }
    filter.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW));
    const sock_fprog program = {static_cast<unsigned short>(filter.size()), filter.data()};
    prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
    return static_cast<int>(
        syscall(SYS_seccomp, SECCOMP_SET_MODE_FILTER, SECCOMP_FILTER_FLAG_NEW_LISTENER, &program));
}

}  // namespace

Kernel::Kernel(const std::function<void()>& start) {
    std::promise<int> watched;
    std::future<void> started = std::async(std::launch::async, [&] {
        const int listener = watchThisThread();
        watched.set_value(listener);
        if (listener < 0)
            throw UnitImpossible("this machine lets no process answer another's calls");
        start();
    });
    // Not by that thread, whose own calls wait for the server, the one for a thread too.
    const int listener = watched.get_future().get();
    if (listener >= 0)
        server_ = std::jthread([this, listener] { serve(listener); });
    started.get();
}

void Kernel::answer(pid_t process, Kind kind, int result, int times) {
    const std::lock_guard lock(mutex_);
    process_ = process;
    kind_ = kind;
    result_ = result;
    left_ = times;
}

int Kernel::left() {
    const std::lock_guard lock(mutex_);
    return left_;
}

void Kernel::serve(int listener) {
    pollfd wait = {listener, POLLIN, 0};
    while (poll(&wait, 1, -1) == 1 && (wait.revents & POLLIN) != 0) {  // a hang-up is the end
        seccomp_notif call = {};
        if (ioctl(listener, SECCOMP_IOCTL_NOTIF_RECV, &call) != 0)
            continue;  // the caller was killed meanwhile
        const std::lock_guard lock(mutex_);
        const auto& calls = kCalls[kind_];
        const bool answered = left_ > 0 && static_cast<pid_t>(call.pid) == process_ &&
                              std::ranges::count(calls, static_cast<unsigned>(call.data.nr)) != 0;
        left_ -= answered ? 1 : 0;
        seccomp_notif_resp reply = {};
        reply.id = call.id;
        reply.flags = answered ? 0 : SECCOMP_USER_NOTIF_FLAG_CONTINUE;
        reply.error = answered ? std::min(result_, 0) : 0;
        reply.val = answered ? std::max(result_, 0) : 0;
        ioctl(listener, SECCOMP_IOCTL_NOTIF_SEND, &reply);
    }
    close(listener);
}
