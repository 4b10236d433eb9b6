#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace Soak {

/// A register of a simulated device and the width of its field, in characters.
struct SimulatedField {
    unsigned reg;
    size_t width;
};

/// What a simulation file holds, as another process that shares it knows it: the fields of its
/// registers in ascending order. The library reads and writes the same file.
class SimulatedFile {
  public:
    /// The file must be there. Throws std::runtime_error.
    SimulatedFile( std::string path, const std::vector<SimulatedField> &fields );

    /// Writes a field into the file, in place and under the lock that the file's users share.
    void write( unsigned reg, const std::string &text );
    void writeNumber( unsigned reg, unsigned value );
    /// The library has written a number of as many characters as the field has; other widths are
    /// left alone.
    /// @return whether it was written.
    bool written( unsigned reg, unsigned value, size_t width );

    /// What is in a field.
    std::string text( unsigned reg ) const;
    unsigned number( unsigned reg ) const;
    /// Whether the file holds what it should.
    bool isRight() const;

  private:
    struct Place {
        size_t offset;
        size_t width;
    };
    void put( unsigned reg, const std::string &text );

    std::string path_;
    std::map<unsigned, Place> places_;
    std::string content_;
};

} // namespace Soak
