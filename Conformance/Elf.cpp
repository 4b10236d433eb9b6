#include "Conformance/Elf.h"

#include "Conformance/Outcome.h"

#include <cstring>
#include <elf.h>
#include <fstream>
#include <iterator>

namespace Conformance {

namespace {

class Reader {
  public:
    explicit Reader( const std::string &path ) {
        std::ifstream file( path, std::ios::binary );
        bytes_.assign( std::istreambuf_iterator<char>( file ), {} );
        require( bytes_.starts_with( ELFMAG ) &&
                     at<Elf64_Ehdr>( 0 ).e_ident[EI_CLASS] == ELFCLASS64,
                 path + " is no 64-bit library" );
    }

    /// The value at an offset. @throw Broken when the file ends before it does
    template <class Value>
    Value at( size_t offset ) const {
        require( offset <= bytes_.size() && bytes_.size() - offset >= sizeof( Value ),
                 "the library's file is cut off" );
        Value value;
        memcpy( &value, bytes_.data() + offset, sizeof value );
        return value;
    }
    std::string text( size_t offset ) const {
        require( offset < bytes_.size(), "the library's file is cut off" );
        return bytes_.c_str() + offset;
    }
    Elf64_Shdr section( size_t index ) const {
        const auto header = at<Elf64_Ehdr>( 0 );
        require( index < header.e_shnum, "the library's file names a section that it has not" );
        return at<Elf64_Shdr>( header.e_shoff + index * header.e_shentsize );
    }
    size_t sections() const { return at<Elf64_Ehdr>( 0 ).e_shnum; }

  private:
    std::string bytes_;
};

std::vector<DynamicSymbol> symbolsOf( const Reader &file, const Elf64_Shdr &section ) {
    std::vector<DynamicSymbol> symbols;
    const Elf64_Shdr names = file.section( section.sh_link );
    for ( size_t at = sizeof( Elf64_Sym ); at < section.sh_size; at += sizeof( Elf64_Sym ) ) {
        const auto symbol = file.at<Elf64_Sym>( section.sh_offset + at );
        symbols.push_back( { file.text( names.sh_offset + symbol.st_name ),
                             symbol.st_shndx != SHN_UNDEF,
                             ELF64_ST_BIND( symbol.st_info ) == STB_WEAK,
                             ELF64_ST_TYPE( symbol.st_info ) == STT_FUNC } );
    }
    return symbols;
}

bool bindsNow( const Reader &file, const Elf64_Shdr &section ) {
    for ( size_t at = 0; at < section.sh_size; at += sizeof( Elf64_Dyn ) ) {
        const auto entry = file.at<Elf64_Dyn>( section.sh_offset + at );
        if ( entry.d_tag == DT_BIND_NOW ||
             ( entry.d_tag == DT_FLAGS && ( entry.d_un.d_val & DF_BIND_NOW ) != 0 ) ||
             ( entry.d_tag == DT_FLAGS_1 && ( entry.d_un.d_val & DF_1_NOW ) != 0 ) ) {
            return true;
        }
    }
    return false;
}

} // namespace

ElfFile readElf( const std::string &path ) {
    const Reader file( path );
    ElfFile found = {};
    for ( size_t index = 0; index < file.sections(); ++index ) {
        const Elf64_Shdr section = file.section( index );
        if ( section.sh_type == SHT_DYNSYM ) {
            found.symbols = symbolsOf( file, section );
        } else if ( section.sh_type == SHT_DYNAMIC ) {
            found.bindsNow = bindsNow( file, section );
        }
    }
    require( !found.symbols.empty(), path + " has no dynamic symbols" );
    return found;
}

} // namespace Conformance
