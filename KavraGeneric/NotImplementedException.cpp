#include "KavraGeneric/NotImplementedException.h"

NotImplementedException::NotImplementedException( const std::string &method )
    : message_( "Not implemented " + method ) {}

NotImplementedException::~NotImplementedException() = default;

const char *NotImplementedException::what() const noexcept {
    return message_.c_str();
}
