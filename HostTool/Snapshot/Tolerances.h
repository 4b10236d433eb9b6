#pragma once

#include <string>
#include <vector>

namespace HostTool::Snapshot {

/// How far a value of one unit may be from the golden one: so many percent of that one or so much
/// of the unit, whichever is more.
struct Tolerance {
    const char *unit;
    double percent;
    double absolute;
    bool takesPercent; ///< a percentage of it says something
    int decimals;      ///< shown to a person
};

class Tolerances {
  public:
    Tolerances();

    /// "C=3", "rpm=15%": the new one takes the place of both limits of the unit.
    /// @throw Failure (badInput) naming the unit, or those that there are.
    void set( const std::string &text );

    /// Whether a difference is within the tolerance; exactly at it is. A unit without a row has
    /// none.
    bool allow( const std::string &unit, double golden, double now ) const;

    const std::vector<Tolerance> &rows() const { return rows_; }
    /// Digits behind the point, 2 for a unit that has no row.
    int decimalsOf( const std::string &unit ) const;

  private:
    const Tolerance *find( const std::string &unit ) const;

    std::vector<Tolerance> rows_;
};

} // namespace HostTool::Snapshot
