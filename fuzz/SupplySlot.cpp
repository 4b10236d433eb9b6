#include "fuzz/SupplySlot.h"

#include "fuzz/Board.h"
#include "fuzz/Contract.h"
#include "fuzz/LibraryState.h"
#include "KavraGeneric/Components/Slot.h"

#include <PlatformLibrary/pl.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <utility>

namespace Fuzz {

namespace {

using Component::LogicalDevice::HostRecord;
using Component::LogicalDevice::Slot;

std::string presenceText( pl_slot *slot ) {
    char *text = nullptr;
    const pl_status status = slot->ops->getPresence( slot, &text );
    const std::unique_ptr<char, decltype( &free )> owned( text, free );
    require( ( status == PL_STATUS_OK ) == ( text != nullptr ),
             "a supply that is there has a text" );
    return text ? text : "";
}

} // namespace

void identify( const std::string &settings, const Chip &chip ) {
    const FakeWire wire( [&]( const Smbus::TransactionRequest &batch ) {
        return frameOf( healthyAnswer( batch, [&]( const Smbus::Request &request ) {
            return chip( registerOf( request ), std::max( request.length(), 1U ) );
        } ) );
    } );
    const LibraryState state( board().topology, LibraryState::Hardware::served );
    const std::string arguments =
        R"({"driver":"PsuSlot","did":21,"address":{"address":80},"driverArgs":{"psuId":1,)" +
        settings +
        R"(,"model_1":"PWR-550","psuFdl_1":"supply {serialNum}","model_2":"DPS550AB6A",)"
        R"("psuFdl_2":"{serialNum} and {serialNum}","model_3":"PWR-WEDGE","psuFdl_3":"{serialNum}"}})";
    underContract( [&] {
        pl_slot *slot = pl_slot_add( arguments.c_str() );
        const std::unique_ptr<Slot> owned( &HostRecord<pl_slot, Slot>::deviceOf( slot ) );
        const std::string first = presenceText( slot );
        require( presenceText( slot ) == first, "the same supply has the same text" );
    } );
}

Chip imageChip( std::string image, size_t size ) {
    return [image = std::move( image ), size]( uint32_t reg, size_t count ) {
        std::string bytes( count, '\xff' );
        for ( size_t i = 0; i < count; ++i ) {
            if ( const size_t at = ( reg + i ) % size; at < image.size() ) {
                bytes[i] = image[at];
            }
        }
        return bytes;
    };
}

Chip shortChip( std::string image ) {
    return [image = std::move( image )]( uint32_t reg, size_t count ) {
        return image.substr( std::min<size_t>( reg, image.size() ), count );
    };
}

} // namespace Fuzz
