// A desktop's session manager for the program that it is told to start: kopertal_session PROGRAM.
// Prints the command that would restore it; at a signal of SIGUSR1 it ends the session, as a log
// out does: the program saves, then it is told to die.
#include <X11/ICE/ICElib.h>
#include <X11/ICE/ICEutil.h>
#include <X11/SM/SMlib.h>
#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <poll.h>
#include <string>
#include <sys/signalfd.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

SmsConn client = nullptr;
bool isEnding = false;

[[noreturn]] void fail(const char* why) {
    std::fprintf(stderr, "%s\n", why);
    std::exit(1);
}

Status registerClient(SmsConn connection, SmPointer, char* previousId) {
    std::free(previousId);
    char* id = SmsGenerateClientID(connection);
    SmsRegisterClientReply(connection, id);
    std::free(id);
    SmsSaveYourself(connection, SmSaveLocal, False, SmInteractStyleNone, False);
    return 1;
}

void saved(SmsConn connection, SmPointer, Bool) {
    if (isEnding)
        SmsDie(connection);
    else
        SmsSaveComplete(connection);
}

void closed(SmsConn connection, SmPointer, int count, char** reasons) {
    SmFreeReasons(count, reasons);
    SmsCleanUp(connection);
    client = nullptr;
}

void setProperties(SmsConn, SmPointer, int count, SmProp** properties) {
    for (int each = 0; each < count; ++each) {
        const SmProp& property = *properties[each];
        if (std::strcmp(property.name, SmRestartCommand) == 0) {
            std::printf("restart:");
            for (int word = 0; word < property.num_vals; ++word)
                std::printf(" %.*s", property.vals[word].length,
                            static_cast<const char*>(property.vals[word].value));
            std::printf("\n");
            std::fflush(stdout);
        }
        SmFreeProperty(properties[each]);
    }
    std::free(properties);
}

Status welcome(SmsConn connection, SmPointer, unsigned long* mask, SmsCallbacks* callbacks,
               char**) {
    client = connection;
    std::memset(callbacks, 0, sizeof *callbacks);
    *mask = SmsRegisterClientProcMask | SmsInteractRequestProcMask | SmsInteractDoneProcMask |
            SmsSaveYourselfRequestProcMask | SmsSaveYourselfP2RequestProcMask |
            SmsSaveYourselfDoneProcMask | SmsCloseConnectionProcMask | SmsSetPropertiesProcMask |
            SmsDeletePropertiesProcMask | SmsGetPropertiesProcMask;
    callbacks->register_client.callback = registerClient;
    callbacks->interact_request.callback = [](SmsConn, SmPointer, int) {};
    callbacks->interact_done.callback = [](SmsConn, SmPointer, Bool) {};
    callbacks->save_yourself_request.callback = [](SmsConn, SmPointer, int, Bool, int, Bool, Bool) {
    };
    callbacks->save_yourself_phase2_request.callback = [](SmsConn connected, SmPointer) {
        SmsSaveYourselfPhase2(connected);
    };
    callbacks->save_yourself_done.callback = saved;
    callbacks->close_connection.callback = closed;
    callbacks->set_properties.callback = setProperties;
    callbacks->delete_properties.callback = [](SmsConn, SmPointer, int count, char** names) {
        for (int each = 0; each < count; ++each)
            std::free(names[each]);
        std::free(names);
    };
    callbacks->get_properties.callback = [](SmsConn connected, SmPointer) {
        SmsReturnProperties(connected, 0, nullptr);
    };
    return 1;
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2)
        fail("kopertal_session PROGRAM");
    IceSetIOErrorHandler([](IceConn) {}); // a program that ends closes its connection
    std::array<char, 256> error{};
    const auto acceptAll = [](char*) -> Bool { return True; };
    if (!SmsInitialize("tests", "1", welcome, nullptr, acceptAll, error.size(), error.data()))
        fail(error.data());
    int count = 0;
    IceListenObj* listeners = nullptr;
    if (!IceListenForConnections(&count, &listeners, error.size(), error.data()))
        fail(error.data());
    for (int each = 0; each < count; ++each)
        IceSetHostBasedAuthProc(listeners[each], acceptAll);
    char* const network = IceComposeNetworkIdList(count, listeners);
    setenv("SESSION_MANAGER", network, 1);
    std::free(network);

    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGUSR1);
    sigaddset(&signals, SIGCHLD);
    sigprocmask(SIG_BLOCK, &signals, nullptr);
    const pid_t program = fork();
    if (program == 0) {
        sigprocmask(SIG_UNBLOCK, &signals, nullptr);
        execl(argv[1], argv[1], static_cast<char*>(nullptr));
        _exit(127);
    }
    const int told = signalfd(-1, &signals, SFD_CLOEXEC);

    std::vector<IceConn> connections;
    for (;;) {
        std::vector<pollfd> waits{{told, POLLIN, 0}};
        for (int each = 0; each < count; ++each)
            waits.push_back({IceGetListenConnectionNumber(listeners[each]), POLLIN, 0});
        for (IceConn connection : connections)
            waits.push_back({IceConnectionNumber(connection), POLLIN, 0});
        poll(waits.data(), waits.size(), -1);
        int status = 0;
        if (waitpid(program, &status, WNOHANG) == program)
            return WIFEXITED(status) ? WEXITSTATUS(status) : 1;
        signalfd_siginfo signal{};
        if ((waits[0].revents & POLLIN) && read(told, &signal, sizeof signal) > 0 &&
            signal.ssi_signo == SIGUSR1 && client) {
            isEnding = true;
            SmsSaveYourself(client, SmSaveBoth, True, SmInteractStyleNone, True);
        }
        const size_t known = connections.size();
        for (size_t each = 0; each < known; ++each) {
            if (waits[1 + static_cast<size_t>(count) + each].revents &&
                IceProcessMessages(connections[each], nullptr, nullptr) !=
                    IceProcessMessagesSuccess)
                connections[each] = nullptr;
        }
        std::erase(connections, nullptr);
        for (int each = 0; each < count; ++each) {
            IceAcceptStatus accepted{};
            if (waits[1 + static_cast<size_t>(each)].revents & POLLIN) {
                if (IceConn connection = IceAcceptConnection(listeners[each], &accepted))
                    connections.push_back(connection);
            }
        }
    }
}
