// Sockets, what waits for them, and what is known of the network.

#include "faults/preload/interception.h"

#include <ifaddrs.h>
#include <netdb.h>
#include <poll.h>
#include <sys/epoll.h>
#include <sys/select.h>
#include <sys/socket.h>

#include <cerrno>

FAULTS_ERRNO_CALL(int, -1, socket, (int family, int type, int protocol), (family, type, protocol))
FAULTS_ERRNO_CALL(int, -1, bind, (int socket, const sockaddr* address, socklen_t size), (socket, address, size))
FAULTS_ERRNO_CALL(int, -1, listen, (int socket, int backlog), (socket, backlog))
FAULTS_ERRNO_CALL(int, -1, accept, (int socket, sockaddr* address, socklen_t* size), (socket, address, size))
FAULTS_ERRNO_CALL(int, -1, accept4, (int socket, sockaddr* address, socklen_t* size, int flags),
                  (socket, address, size, flags))
FAULTS_ERRNO_CALL(int, -1, connect, (int socket, const sockaddr* address, socklen_t size), (socket, address, size))
FAULTS_ERRNO_CALL(int, -1, shutdown, (int socket, int how), (socket, how))
FAULTS_ERRNO_CALL(int, -1, setsockopt, (int socket, int level, int name, const void* value, socklen_t size),
                  (socket, level, name, value, size))
FAULTS_ERRNO_CALL(int, -1, getsockopt, (int socket, int level, int name, void* value, socklen_t* size),
                  (socket, level, name, value, size))
FAULTS_ERRNO_CALL(int, -1, getsockname, (int socket, sockaddr* address, socklen_t* size), (socket, address, size))
FAULTS_ERRNO_CALL(int, -1, getpeername, (int socket, sockaddr* address, socklen_t* size), (socket, address, size))
FAULTS_ERRNO_CALL(ssize_t, -1, recv, (int socket, void* bytes, size_t size, int flags), (socket, bytes, size, flags))
FAULTS_ERRNO_CALL(ssize_t, -1, recvfrom,
                  (int socket, void* bytes, size_t size, int flags, sockaddr* address, socklen_t* addressSize),
                  (socket, bytes, size, flags, address, addressSize))
FAULTS_ERRNO_CALL(ssize_t, -1, recvmsg, (int socket, msghdr* message, int flags), (socket, message, flags))
FAULTS_ERRNO_CALL(ssize_t, -1, send, (int socket, const void* bytes, size_t size, int flags),
                  (socket, bytes, size, flags))
FAULTS_ERRNO_CALL(ssize_t, -1, sendto,
                  (int socket, const void* bytes, size_t size, int flags, const sockaddr* address,
                   socklen_t addressSize),
                  (socket, bytes, size, flags, address, addressSize))
FAULTS_ERRNO_CALL(ssize_t, -1, sendmsg, (int socket, const msghdr* message, int flags), (socket, message, flags))
FAULTS_ERRNO_CALL(int, -1, ioctl, (int file, unsigned long request, void* argument), (file, request, argument))
FAULTS_ERRNO_CALL(int, -1, fcntl, (int file, int command, long argument), (file, command, argument))
FAULTS_ERRNO_CALL(int, -1, fcntl64, (int file, int command, long argument), (file, command, argument))

FAULTS_ERRNO_CALL(int, -1, epoll_create, (int size), (size))
FAULTS_ERRNO_CALL(int, -1, epoll_create1, (int flags), (flags))
FAULTS_ERRNO_CALL(int, -1, epoll_ctl, (int queue, int operation, int file, epoll_event* event),
                  (queue, operation, file, event))
FAULTS_ERRNO_CALL(int, -1, epoll_wait, (int queue, epoll_event* events, int count, int timeout),
                  (queue, events, count, timeout))
FAULTS_ERRNO_CALL(int, -1, eventfd, (unsigned count, int flags), (count, flags))
FAULTS_ERRNO_CALL(int, -1, poll, (pollfd * files, nfds_t count, int timeout), (files, count, timeout))
FAULTS_ERRNO_CALL(int, -1, select, (int count, fd_set* readable, fd_set* writable, fd_set* odd, timeval* timeout),
                  (count, readable, writable, odd, timeout))

FAULTS_ERRNO_CALL(int, -1, getifaddrs, (ifaddrs * *list), (list))
FAULTS_ERRNO_CALL(unsigned, 0, if_nametoindex, (const char* name), (name))
FAULTS_ERRNO_CALL(char*, nullptr, if_indextoname, (unsigned index, char* name), (index, name))

// Its errors have numbers of their own.
FAULTS_CALL(int, getaddrinfo, (const char* host, const char* service, const addrinfo* hints, addrinfo** found),
            (host, service, hints, found), {
              errno = EIO;
              return fault;
            })
