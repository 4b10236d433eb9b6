#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <new>

/// What a host compiled against the bare layout sees: offsets, words, table slots. Nothing here
/// goes through the names that pl.h gives to fields.
namespace Layout {

template <typename Word>
Word wordAt( const void *object, std::size_t offset ) {
    Word word;
    std::memcpy( &word, static_cast<const char *>( object ) + offset, sizeof word );
    return word;
}

template <typename Member>
std::ptrdiff_t offsetIn( const void *object, const Member *member ) {
    return reinterpret_cast<const char *>( member ) - static_cast<const char *>( object );
}

inline const void *operationsOf( const void *record ) {
    return wordAt<const void *>( record, 8 );
}

/// The word right behind a record.
inline const void *deviceBehind( const void *record ) {
    return wordAt<const void *>( record, 16 );
}

inline uint32_t tableSize( const void *table ) {
    return wordAt<uint32_t>( table, 0 );
}

inline uint32_t tableSecondWord( const void *table ) {
    return wordAt<uint32_t>( table, 4 );
}

/// The 64-bit word at the place, counted from 0 behind the table's header.
inline uintptr_t slot( const void *table, std::size_t place ) {
    return wordAt<uintptr_t>( table, 8 + 8 * place );
}

template <typename Function>
uintptr_t addressOf( Function *function ) {
    return reinterpret_cast<uintptr_t>( function );
}

/// Place of a virtual operation in its class's table: the compiler keeps it in the pointer.
template <typename Method>
std::size_t virtualSlot( Method method ) {
    return ( wordAt<std::size_t>( &method, 0 ) & ~std::size_t{ 1 } ) / sizeof( void * );
}

/// Makes an object over memory full of 0xA5, for what a constructor leaves alone.
template <typename Object>
class MadeOverPattern {
  public:
    template <typename... Argument>
    explicit MadeOverPattern( Argument... arguments ) {
        std::memset( memory_, 0xA5, sizeof memory_ );
        hideFromCompiler();
        if constexpr ( sizeof...( arguments ) == 0 ) {
            object_ = new ( memory_ ) Object; // with () the compiler would clear the memory first
        } else {
            object_ = new ( memory_ ) Object( arguments... );
        }
        hideFromCompiler();
    }
    ~MadeOverPattern() { object_->~Object(); }
    MadeOverPattern( const MadeOverPattern & ) = delete;
    MadeOverPattern &operator=( const MadeOverPattern & ) = delete;

    uint64_t hostWord() const { return wordAt<uint64_t>( object_->record(), 0 ); }

    static constexpr uint64_t pattern = 0xA5A5'A5A5'A5A5'A5A5;

  private:
    // Otherwise the compiler drops the pattern: an object's memory has no content before it is
    // made.
    void hideFromCompiler() { asm volatile( "" : : "r"( memory_ ) : "memory" ); }

    alignas( Object ) char memory_[sizeof( Object )];
    Object *object_;
};

} // namespace Layout
