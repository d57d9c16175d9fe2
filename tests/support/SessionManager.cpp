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
#include <sys/wait.h>
#include <unistd.h>

namespace {

SmsConn client = nullptr;
bool isEnding = false;

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
    *mask = SmsRegisterClientProcMask | SmsSaveYourselfDoneProcMask | SmsCloseConnectionProcMask |
            SmsSetPropertiesProcMask | SmsDeletePropertiesProcMask; // what the toolkit uses
    callbacks->register_client.callback = [](SmsConn connected, SmPointer, char* previousId) {
        std::free(previousId);
        char* id = SmsGenerateClientID(connected);
        SmsRegisterClientReply(connected, id);
        std::free(id);
        SmsSaveYourself(connected, SmSaveLocal, False, SmInteractStyleNone, False);
        return Status(1);
    };
    callbacks->save_yourself_done.callback = [](SmsConn connected, SmPointer, Bool) {
        (isEnding ? SmsDie : SmsSaveComplete)(connected);
    };
    callbacks->close_connection.callback = [](SmsConn connected, SmPointer, int count,
                                              char** reasons) {
        SmFreeReasons(count, reasons);
        SmsCleanUp(connected);
    };
    callbacks->set_properties.callback = setProperties;
    callbacks->delete_properties.callback = [](SmsConn, SmPointer, int count, char** names) {
        while (count > 0)
            std::free(names[--count]);
        std::free(names);
    };
    return 1;
}

} // namespace

int main(int argc, char** argv) {
    IceSetIOErrorHandler([](IceConn) {}); // a program that ends closes its connection
    std::array<char, 256> error{};
    const auto acceptAll = [](char*) -> Bool { return True; };
    int count = 0;
    IceListenObj* listeners = nullptr;
    if (argc != 2 ||
        !SmsInitialize("tests", "1", welcome, nullptr, acceptAll, error.size(), error.data()) ||
        !IceListenForConnections(&count, &listeners, error.size(), error.data())) {
        std::fprintf(stderr, "kopertal_session PROGRAM: %s\n", error.data());
        return 1;
    }
    IceListenObj& local = listeners[count - 1]; // the first is one for other computers
    IceSetHostBasedAuthProc(local, acceptAll);
    setenv("SESSION_MANAGER", IceComposeNetworkIdList(1, &local), 1);
    const pid_t program = fork();
    if (program == 0) {
        execl(argv[1], argv[1], static_cast<char*>(nullptr));
        _exit(127);
    }

    sigset_t others; // SIGUSR1 comes while it waits, and at no other time
    sigset_t end;
    sigemptyset(&end);
    sigaddset(&end, SIGUSR1);
    sigprocmask(SIG_BLOCK, &end, &others);
    std::signal(SIGUSR1, [](int) {});
    IceAcceptStatus accepted{};
    IceConn connection = IceAcceptConnection(local, &accepted);
    pollfd wait{IceConnectionNumber(connection), POLLIN, 0};
    for (bool isOpen = true; isOpen;) {
        if (ppoll(&wait, 1, nullptr, &others) < 0) {
            isEnding = true;
            SmsSaveYourself(client, SmSaveBoth, True, SmInteractStyleNone, True);
        } else {
            isOpen = IceProcessMessages(connection, nullptr, nullptr) == IceProcessMessagesSuccess;
        }
    }
    int status = 0;
    waitpid(program, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 1;
}
