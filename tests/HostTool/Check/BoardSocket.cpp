#include "tests/HostTool/Check/BoardSocket.h"

#include "KavraUtil/PLSocket.h"
#include "KavraUtil/Smbus.pb.h"
#include "SmbusServer/EmulatedBackend.h"
#include "SmbusServer/Transaction.h"

#include <cerrno>
#include <memory>

namespace {

struct Server {
    explicit Server( EmulatedBoard::Board &board ) : backend( board ), transaction( backend ) {}
    SmbusServer::EmulatedBackend backend;
    SmbusServer::Transaction transaction;
};

std::unique_ptr<Server> server;

} // namespace

namespace BoardSocket {

void serve( EmulatedBoard::Board &board ) {
    server = std::make_unique<Server>( board );
}

} // namespace BoardSocket

namespace PlatformLibrary {

PLSocket::~PLSocket() = default;

int PLSocket::setup() {
    return server ? 0 : -ECONNREFUSED;
}

int PLSocket::sendRequestWait( Smbus::TransactionRequest *request,
                               Smbus::TransactionResponse **response ) {
    *response = new Smbus::TransactionResponse;
    server->transaction.perform( *request, **response );
    return 0;
}

} // namespace PlatformLibrary
