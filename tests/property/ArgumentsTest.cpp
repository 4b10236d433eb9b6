// Device arguments: what is read from a text, what is added to one, and numbers in settings.
#include "KavraGeneric/Components/DeviceBase.h"
#include "KavraGeneric/Components/Gpio.h"
#include "KavraGeneric/Components/HardwareDevice.h"
#include "KavraGeneric/Drivers/Helpers.h"
#include "tests/KavraGeneric/Drivers/ChipHam.h"
#include "tests/property/ArgumentsModel.h"
#include "tests/property/Property.h"
#include "tests/support/LibraryFixture.h"

#include <bit>
#include <cstdlib>
#include <memory>

namespace {

using namespace Property;

class ArgumentsProperty : public LibraryFixture {
  protected:
    ArgumentsProperty() { host().traceDropped = true; }
};

TEST_F( ArgumentsProperty, TextInAnyLookReadsAsItsModel ) {
    forAll( [] {
        const ArgumentsModel model = drawArguments( drawWord() );
        const std::string text = printed( model.json, drawLook() );
        return Case{ text, [model, text] {
                        Drivers::DriverArgs arguments;
                        require( arguments.parseJSON( text.c_str() ), "was refused" );
                        require( arguments.json == text.c_str(), "another text" );
                        requireSame( model.expected, textOf( arguments ), "arguments" );
                    } };
    } );
}

TEST_F( ArgumentsProperty, AddressKeepsTheLowBitsOfEveryNumber ) {
    forAll( [] {
        const DrawnAddress drawn = drawAddress( drawWord() );
        const std::string text = compact( drawn.json );
        return Case{ text, [drawn, text] {
                        rapidjson::Document document;
                        document.Parse( text.c_str() );
                        AhamAddress address = std::bit_cast<AhamAddress>( ~uint64_t{ 0 } );
                        Topology::fillAddressFromJSON( document, address );
                        const auto word = std::bit_cast<uint64_t>( address );
                        require( word == uint64_t{ drawn.meaning.packed() } << 32, "the word" );
                        require( address.address == drawn.meaning.address && address.bus == 0 &&
                                     address.accelerator == drawn.meaning.accelerator &&
                                     address.readDelay == drawn.meaning.readDelay,
                                 "the fields" );
                    } };
    } );
}

/// Numbers in documents that are printed in one way alone.
Json drawPlain( unsigned depth ) {
    if ( drawRarely( 4 ) ) {
        const auto quarters = static_cast<int32_t>( drawWord() >> 12 );
        constexpr const char *fractions[] = { ".0", ".25", ".5", ".75" };
        return Json::literal( std::to_string( quarters / 4 ) + fractions[quarters % 4] );
    }
    return drawJson( depth );
}

/// Inserts and returns what was handed out; the text is released as a host would.
std::string inserted( const std::string &text, const std::string &name, const std::string &value ) {
    char *rewritten = nullptr;
    require( Drivers::insertDriverArg( text.c_str(), &rewritten, name.c_str(), value.c_str() ),
             "was refused" );
    const std::unique_ptr<char, decltype( &std::free )> owned( rewritten, std::free );
    return rewritten;
}

TEST_F( ArgumentsProperty, InsertedArgumentIsLastInTheRewrittenText ) {
    forAll( [] {
        Json settings = Json::object();
        for ( unsigned i = drawCount( 4 ); i > 0; --i ) {
            settings.add( drawText( 6, true ), drawPlain( 2 ) );
        }
        const std::string name = drawText();
        const std::string value = drawText();
        Json before = Json::object();
        Json after = Json::object();
        const unsigned place = drawBelow( 4 );
        for ( unsigned i = 0; i < 4; ++i ) {
            const std::string key = i == place ? "driverArgs" : "x" + drawText( 6, true );
            Json member = i == place ? settings : drawPlain( 2 );
            before.add( key, member );
            if ( i == place ) {
                member.add( name, Json::text( value ) );
            }
            after.add( key, member );
        }
        Look look = drawLook();
        look.anyOrder = false;
        const std::string text = printed( before, look );
        return Case{ text + "\n" + name + " = " + value, [=] {
                        requireSame( compact( after ), inserted( text, name, value ), "text" );
                    } };
    } );
}

TEST_F( ArgumentsProperty, InsertedArgumentIsReadInPlaceOfAnEarlierOne ) {
    forAll( [] {
        ArgumentsModel model = drawArguments( drawWord() );
        const std::string name = drawBool() ? "fanId" : drawText();
        const std::string value = drawText();
        bool hasSettings = false;
        for ( auto &[key, json] : model.json.members ) {
            hasSettings = hasSettings || key == "driverArgs";
        }
        if ( !hasSettings ) {
            model.json.add( "driverArgs", Json::object() );
        }
        const std::string text = printed( model.json, drawLook() );
        return Case{ text + "\n" + name + " = " + value, [=] {
                        Drivers::DriverArgs expected;
                        require( expected.parseJSON( text.c_str() ), "was refused" );
                        requireSame( model.expected, textOf( expected ), "before" );
                        expected.driverArgs[name] = value;
                        const std::string rewritten = inserted( text, name, value );
                        Drivers::DriverArgs actual;
                        require( actual.parseJSON( rewritten.c_str() ), "is no JSON" );
                        requireSame( textOf( expected ), textOf( actual ), "after" );
                    } };
    } );
}

/// The registers that a line with this setting reads, or what making it throws.
std::string registerRead( const std::string &setting ) {
    std::string seen;
    ChipHam chip( [&seen]( unsigned reg, unsigned ) {
        seen = std::to_string( static_cast<int>( reg ) );
        return std::string( 1, '\0' );
    } );
    Drivers::DriverArgs arguments;
    arguments.driver = "GpioDriver";
    arguments.driverArgs = { { "register", setting }, { "bitpos", "0" } };
    Component::DeviceBase::devices.clear();
    try {
        auto *device = Component::HardwareDevice::create( arguments, &chip );
        const std::unique_ptr<Component::HardwareDevice> ownedDevice( device );
        const std::unique_ptr<Component::LogicalDevice::Gpio> line( device->newGpio( arguments ) );
        unsigned value = 0;
        line->bitRead( &value );
    } catch ( const std::invalid_argument & ) {
        return "no number";
    } catch ( const std::out_of_range & ) {
        return "too large";
    }
    return seen;
}

TEST_F( ArgumentsProperty, SettingIsTheDecimalNumberThatItsTextBeginsWith ) {
    forAll( [] {
        constexpr const char *blanks[] = { "", " ", "\t", "\n " };
        constexpr const char *signs[] = { "", "-", "+" };
        constexpr const char *rests[] = { "", "x10", ".9", " rpm", "e3", "\u00b0" };
        const int64_t magnitude = drawRarely( 8 ) ? int64_t{ drawWord() } << 4 : drawWord();
        const std::string sign = drawFrom( signs );
        const std::string zeros( drawBelow( 3 ), '0' );
        const std::string text =
            drawFrom( blanks ) + sign + zeros + std::to_string( magnitude ) + drawFrom( rests );
        const int64_t number = sign == "-" ? -magnitude : magnitude;
        const bool fits = number >= INT32_MIN && number <= INT32_MAX;
        const std::string expected = fits ? std::to_string( number ) : "too large";
        return Case{ text, [text, expected] {
                        requireSame( expected, registerRead( text ), "register" );
                    } };
    } );
}

TEST_F( ArgumentsProperty, SettingWithoutALeadingDigitIsNoNumber ) {
    forAll( [] {
        constexpr const char *starts[] = { "", "x", "--", "+-", ".", "#", "\u00bd" };
        const std::string start = drawFrom( starts );
        const std::string text = start.empty() ? start : start + std::to_string( drawWord() );
        return Case{ text,
                     [text] { requireSame( "no number", registerRead( text ), "register" ); } };
    } );
}

} // namespace
