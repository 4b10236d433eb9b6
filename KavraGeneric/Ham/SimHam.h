#pragma once

#include "KavraGeneric/Ham/Ham.h"

namespace Ham {

/// A device's registers as text in a file, for a system without hardware. The file holds the values
/// of the driver's table in ascending register order, a number as 2 hexadecimal digits a byte, and
/// a newline at the end. Other processes may read and change it: each access takes a lock on the
/// whole file.
///
/// A write goes to the register of the last read, whatever register it names: a driver that writes
/// in simulation reads the register first.
class SimHam final : public Ham {
  public:
    static SimHam *create( const Topology::Topology &topology, const Drivers::DriverArgs &args );

    void init() override;
    void prepare() override;
    /// @return 4 when there is a file and the register of the last read is not in it, or the file
    ///         has been cut short; else 0.
    int execute() override;

    ResponseId addRecvByte() override;
    ResponseId addRead8( unsigned reg ) override;
    ResponseId addRead16( unsigned reg ) override;
    ResponseId addRead( unsigned reg, unsigned length, bool flag ) override;
    ResponseId addReadBlock( unsigned reg ) override;
    void addSendByte( uint8_t value, bool flag ) override;
    /// Changes nothing unless the register's width in the table is 1.
    void addWrite8( unsigned reg, uint8_t value, bool flag ) override;
    /// Changes nothing unless the register's width in the table is 2.
    void addWrite16( unsigned reg, uint16_t value, bool flag ) override;
    /// @param data address of a std::string with the text to store
    void addWrite( unsigned reg, const void *data, unsigned length, bool flag ) override;
    /// @param data address of a std::string with the text to store
    void addWriteBlock( unsigned reg, const void *data, unsigned length, bool flag ) override;
    ResponseId addProcessCall( unsigned reg, uint16_t value ) override;

    /// 0, after a warning, for a register that the table lacks.
    uint8_t get8( ResponseId id ) override;
    /// A register of one byte is widened with ff as the low byte.
    uint16_t get16( ResponseId id ) override;
    /// @throws std::logic_error, after a warning, for a register that the table lacks
    std::string getBlock( ResponseId id, size_t length ) override;

    /// Makes the file anew from the table, unless the table is empty.
    void setExpected( Utils::ExpectedValues *table ) override;
    void setDriverName( std::string driver, std::string name ) override;

  private:
    ResponseId saveReg( unsigned reg );
    bool isAddrSimulated() const;
    bool savedRegHasValue() const;
    void warnNoValue() const;
    void createSimFile();
    void addWriteText( const void *data, unsigned length );
    bool readFromFile( size_t length, std::string &text );
    void writeToFile( const std::string &text );
    unsigned long readNumber( size_t digits );

    Utils::ExpectedValues *expected_ = nullptr;
    std::map<uint32_t, uint32_t> offsets_;
    std::string driverName_;
    std::string deviceName_;
    uint32_t savedReg = 0;
    bool simFileExists_ = false;
    uint64_t fileSize = 0; // of the register text; the newline does not count
    std::string simFileName_;
    void *readWindow_ = nullptr; // where the file is mapped, the next mapping over the last one
    void *writeWindow_ = nullptr;
};

} // namespace Ham
