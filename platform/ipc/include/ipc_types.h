#ifndef PLATFORM_IPC_IPC_TYPES_H
#define PLATFORM_IPC_IPC_TYPES_H

namespace OHOS {

// What SendRequest gives. 0 and everything outside the range FIRST_IPC_ERROR..LAST_IPC_ERROR is the word of the
// request's handler; the values in it are the words of the transport and of the default handling, and no handler uses
// them.
enum IpcError : int {
    ERR_NONE = 0,

    FIRST_IPC_ERROR = 2001,
    IPC_UNKNOWN_CODE = 2001,       // the stub has no such operation
    IPC_UNKNOWN_ERROR = 2002,      // the handler threw; what it did until then stands
    IPC_DEAD_OBJECT = 2003,        // the object's process is gone, or goes during the call
    IPC_TIMED_OUT = 2004,          // no reply within the wait time; the request may still be handled
    IPC_NO_SUCH_OBJECT = 2005,     // the process lives and does not know the object
    IPC_FOREIGN_OBJECT = 2006,     // the parcel carries an object of a third process
    IPC_MESSAGE_TOO_BIG = 2007,    // bytes, objects or descriptors of one message
    IPC_TOO_MANY_OBJECTS = 2008,   // objects that one process holds of another
    IPC_TOO_MANY_LANES = 2009,     // calls under way from one process to another
    IPC_PEER_DOES_NOT_READ = 2010, // one-way messages have piled up
    IPC_OUT_OF_DESCRIPTORS = 2011, // this process may open no more
    LAST_IPC_ERROR = 2011,
};

} // namespace OHOS

#endif // PLATFORM_IPC_IPC_TYPES_H
