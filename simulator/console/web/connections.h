// The sockets of the server's clients.
#pragma once

#include <string>

namespace console {

// Ends all connections of this process that were accepted at the address of the listening socket
// `listener`. Reads and writes that wait for such a client return at once; their threads close the
// sockets.
void EndConnections(const std::string& listenerAddress);

// The address to which a socket is bound, as bytes to compare; empty when the descriptor is no
// bound socket.
std::string AddressOf(int descriptor);

}  // namespace console
