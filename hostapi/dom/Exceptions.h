#pragma once

#include <exception>
#include <string>

namespace dom {

// Base of the messaging layer's exceptions.
class Exception : public std::exception {
public:
    explicit Exception(std::string text) : text_(std::move(text)) {}
    const char* what() const noexcept override { return text_.c_str(); }

private:
    std::string text_;
};

// The target actor's queue has been shut down, or shut down while a request
// was waiting for its reply.
class ActorShutdownException : public Exception {
public:
    using Exception::Exception;
};

// The connection to the peer that holds the target was lost.
class ConnectionLostException : public Exception {
public:
    using Exception::Exception;
};

// A message broke the protocol: unknown method table or tag, a value that
// would not decode, or a request that got no reply.
class MessageProtocolException : public Exception {
public:
    using Exception::Exception;
};

// The message is addressed to an actor or object that does not exist.
class InvalidActorException : public Exception {
public:
    using Exception::Exception;
};

}  // namespace dom
