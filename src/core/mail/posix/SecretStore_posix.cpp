// The SMTP password on POSIX: the desktop session's Secret Service through libsecret's C
// API, loaded with dlopen when first needed (the program runs without it), and the
// password file.
#include "mail/SecretStore.h"

#include "platform/SysError.h"

#include <libsecret/secret.h>

#include <condition_variable>
#include <cstdlib>
#include <dlfcn.h>
#include <fcntl.h>
#include <mutex>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace tessaron {

namespace {

// A store that does not answer (a locked keyring waiting for a prompt nobody sees) must
// not hold a run up for ever.
constexpr auto kStoreWait = std::chrono::seconds(30);

const SecretSchema kSchema = {"org.velqo.Tessaron.SMTP",
                              SECRET_SCHEMA_NONE,
                              {{"server", SECRET_SCHEMA_ATTRIBUTE_STRING},
                               {"user", SECRET_SCHEMA_ATTRIBUTE_STRING},
                               {nullptr, SECRET_SCHEMA_ATTRIBUTE_STRING}},
                              0,
                              nullptr,
                              nullptr,
                              nullptr,
                              nullptr,
                              nullptr,
                              nullptr,
                              nullptr};

// The few functions of libsecret (and of GLib, which it brings) that are used.
struct Library {
    decltype(&secret_password_lookup_sync) Lookup = nullptr;
    decltype(&secret_password_store_sync) Store = nullptr;
    decltype(&secret_password_free) Free = nullptr;
    decltype(&g_error_free) FreeError = nullptr;
    decltype(&g_cancellable_new) NewCancellable = nullptr;
    decltype(&g_cancellable_cancel) Cancel = nullptr;
    decltype(&g_object_unref) Unref = nullptr;

    template <typename F> bool Find(void* lib, F& f, const char* name) {
        f = reinterpret_cast<F>(dlsym(lib, name));
        return f != nullptr;
    }

    // Loaded once for the process and never unloaded (GLib does not support that).
    static const Library* Get() {
        static const Library* loaded = []() -> const Library* {
            void* lib = dlopen("libsecret-1.so.0", RTLD_NOW | RTLD_LOCAL);
            static Library l;
            if (lib == nullptr || !l.Find(lib, l.Lookup, "secret_password_lookup_sync") ||
                !l.Find(lib, l.Store, "secret_password_store_sync") ||
                !l.Find(lib, l.Free, "secret_password_free") ||
                !l.Find(lib, l.FreeError, "g_error_free") ||
                !l.Find(lib, l.NewCancellable, "g_cancellable_new") ||
                !l.Find(lib, l.Cancel, "g_cancellable_cancel") ||
                !l.Find(lib, l.Unref, "g_object_unref"))
                return nullptr;
            return &l;
        }();
        return loaded;
    }
};

// Whether the session has a message bus to ask: without one, GLib would try to start a
// bus of its own, which an unattended run must not wait for.
bool SessionBusThere() {
    if (const char* address = std::getenv("DBUS_SESSION_BUS_ADDRESS"); address && *address)
        return true;
    const char* runtime = std::getenv("XDG_RUNTIME_DIR");
    struct stat st {};
    return runtime != nullptr && *runtime != '\0' &&
           ::stat((std::string(runtime) + "/bus").c_str(), &st) == 0 && S_ISSOCK(st.st_mode);
}

// Runs call(cancellable) and cancels it when it takes longer than kStoreWait.
template <typename Call> void WithinTime(const Library& lib, Call call) {
    GCancellable* cancellable = lib.NewCancellable();
    std::mutex lock;
    std::condition_variable done;
    bool finished = false;
    std::thread watchdog([&] {
        std::unique_lock<std::mutex> hold(lock);
        if (!done.wait_for(hold, kStoreWait, [&] { return finished; }))
            lib.Cancel(cancellable);
    });
    call(cancellable);
    {
        const std::lock_guard<std::mutex> hold(lock);
        finished = true;
    }
    done.notify_one();
    watchdog.join();
    lib.Unref(cancellable);
}

class SecretService : public SecretStore {
public:
    std::string Name() const override { return "the Secret Service"; }

    SecretLookup Lookup(const std::string& server, const std::string& user) override {
        SecretLookup r;
        const Library* lib = Reachable(r.Why);
        if (lib == nullptr)
            return r;
        GError* error = nullptr;
        gchar* found = nullptr;
        WithinTime(*lib, [&](GCancellable* c) {
            found = lib->Lookup(&kSchema, c, &error, "server", server.c_str(), "user", user.c_str(),
                                nullptr);
        });
        if (found != nullptr) {
            r.Found = true;
            r.Value = found;
            lib->Free(found);
        }
        r.Why = Explain(*lib, error);
        return r;
    }

    std::string Store(const std::string& server, const std::string& user,
                      const std::string& password) override {
        std::string why;
        const Library* lib = Reachable(why);
        if (lib == nullptr)
            return why;
        GError* error = nullptr;
        const std::string label = "Tessaron mail password for " + user + " at " + server;
        WithinTime(*lib, [&](GCancellable* c) {
            lib->Store(&kSchema, SECRET_COLLECTION_DEFAULT, label.c_str(), password.c_str(), c,
                       &error, "server", server.c_str(), "user", user.c_str(), nullptr);
        });
        return Explain(*lib, error);
    }

private:
    static const Library* Reachable(std::string& why) {
        const Library* lib = SessionBusThere() ? Library::Get() : nullptr;
        if (lib == nullptr)
            why = SessionBusThere() ? "libsecret is not installed, so the Secret Service "
                                      "cannot hold the password"
                                    : "no desktop session offers the Secret Service";
        return lib;
    }

    static std::string Explain(const Library& lib, GError* error) {
        if (error == nullptr)
            return "";
        std::string why = std::string("the Secret Service did not answer: ") +
                          (error->message != nullptr ? error->message : "unknown error");
        lib.FreeError(error);
        return why;
    }
};

// The checks on an open password file: what is wrong with it, or "".
std::string Unsafe(int fd) {
    struct stat st {};
    if (::fstat(fd, &st) != 0)
        return ("cannot be read: " + SysError::FromCode(errno).Text());
    if (!S_ISREG(st.st_mode))
        return ("is not a regular file");
    if (st.st_uid != ::geteuid())
        return ("belongs to another user");
    if ((st.st_mode & (S_IRGRP | S_IROTH)) != 0)
        return ("can be read by other users; allow only its owner to read "
                "it (chmod 600)");
    return "";
}

} // namespace

std::unique_ptr<SecretStore> SecretStore::Create() {
    return std::make_unique<SecretService>();
}

std::string passwordfile::Read(const std::string& path, std::string& text) {
    // O_NONBLOCK: a FIFO in its place must not make the mail wait for a writer.
    const int fd = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY);
    if (fd < 0)
        return "cannot be opened: " + SysError::FromCode(errno).Text();
    std::string what = Unsafe(fd);
    char buf[4096];
    const ssize_t n = what.empty() ? ::read(fd, buf, sizeof buf) : 0;
    if (n < 0)
        what = "cannot be read: " + SysError::FromCode(errno).Text();
    ::close(fd);
    text.assign(buf, n > 0 ? static_cast<std::size_t>(n) : 0);
    return what;
}

} // namespace tessaron
