#pragma once

#include "HostTool/Check/Check.h"
#include "HostTool/Check/Report.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

/// Documents as texts, and what check says of them as lines: "topology.json:1:7 did-twice".
class CheckTest : public testing::Test {
  protected:
    using Kind = HostTool::Check::Kind;

    CheckTest &topology( const std::string &text ) { return add( Kind::topology, text ); }
    CheckTest &devices( const std::string &text ) { return add( Kind::devices, text ); }
    CheckTest &emulation( const std::string &text ) { return add( Kind::emulation, text ); }
    CheckTest &arguments( const std::string &text ) { return add( Kind::arguments, text ); }

    /// A bus of the processor with these devices; they are label "d0", "d1" and so on.
    CheckTest &busWith( const std::string &devicesText, const std::string &more = {} ) {
        return topology( R"([ { "type": "I2C", "ham": "KavraSmbus", "id": 2, "label": "bus",
            "devices": [ )" +
                         devicesText + " ]" + more + " } ]" );
    }

    /// One device of the topology and one entry for it.
    CheckTest &oneDevice( const std::string &deviceClass, const std::string &driver,
                          const std::string &settings ) {
        busWith( R"({ "did": 1, "label": "it" })" );
        const std::string thresholds =
            deviceClass == "temp_sensor" ? R"(, "thresholds": { "alert": 1, "critical": 2 })" : "";
        return devices( R"([ { "class": ")" + deviceClass + R"(", "name": "it", "arguments": {
            "driver": ")" +
                        driver + R"(", "did": 1, "address": { "address": 72 }, "driverArgs": )" +
                        settings + " }" + thresholds + " } ]" );
    }

    std::vector<std::string> rules() const { return told( false ); }
    std::vector<std::string> rulesAndPlaces() const { return told( true ); }

    std::string report() const { return HostTool::Check::reportAsText( check( set_ ) ); }

  private:
    CheckTest &add( Kind kind, const std::string &text ) {
        static constexpr const char *files[] = { "topology.json", "devices.json", "arguments.json",
                                                 "emulation.json" };
        set_.add( kind, files[static_cast<size_t>( kind )], text );
        return *this;
    }

    std::vector<std::string> told( bool withPlace ) const {
        const HostTool::Check::Findings findings = check( set_ );
        std::vector<std::string> lines;
        for ( const HostTool::Check::Finding &finding : findings.all() ) {
            const HostTool::Place place = finding.document->placeOf( finding.spot );
            std::string line = finding.rule->name;
            if ( withPlace ) {
                line = finding.document->path() + ":" + std::to_string( place.line ) + ":" +
                       std::to_string( place.column ) + " " + line;
            }
            lines.push_back( line );
        }
        std::sort( lines.begin(), lines.end() );
        return lines;
    }

    HostTool::Check::DocumentSet set_;
};
