// Serves the page, the states and the values of a session over HTTP.
//
// Everything lies below a random key. Requests without it are refused, and so are those that a browser sends on behalf
// of another site: for another host, or from another origin.
#pragma once

#include <memory>
#include <string>

#include "studio/Page.h"
#include "studio/Session.h"

namespace zun::studio {

/// Whether an address to listen on is reached from this machine alone.
bool isLoopback(std::string const &host);

class Server {
public:
    struct Settings {
        std::string host = "127.0.0.1"; ///< the address to listen on
        int port = 0;                   ///< 0: any that is free
    };

    /// Begins to serve. Throws zun::Exception where the port is taken. The session has to outlive the server.
    Server(Session &session, Page page, Settings const &settings);
    ~Server(); ///< ends all connections, and waits for all threads
    Server(Server const &) = delete;
    Server &operator=(Server const &) = delete;

    /// What to open in a browser: http://127.0.0.1:PORT/KEY/.
    std::string const &address() const;

private:
    class Implementation;
    std::unique_ptr<Implementation> implementation;
};

} // namespace zun::studio
