#pragma once

namespace EmulatedBoard {

/// One rotor of a tray. It follows the duty of its motor with inertia; wear makes friction, which
/// takes its part of the duty and keeps a worn rotor from turning at all with little of it.
class Rotor {
  public:
    /// @param fullSpeed rpm without wear at a duty of 1.
    explicit Rotor( double fullSpeed ) : fullSpeed_( fullSpeed ) {}

    double wear = 0;      ///< %, from new to worn out
    bool blocked = false; ///< something holds the rotor

    /// Lets time pass.
    /// @param duty 0 to 1
    /// @param inertia the time constant in s; 0 follows at once.
    void run( double seconds, double duty, double inertia );
    void stop() { speed_ = 0; }
    double rpm() const { return speed_; }

  private:
    double fullSpeed_;
    double speed_ = 0;
};

/// What is plugged into a bay: two rotors, one behind the other, and a strap that tells which way
/// the air goes.
class FanTray {
  public:
    bool present() const { return present_; }
    /// A tray that comes starts from standstill.
    void presentIs( bool present );
    bool frontToBack = true;

    Rotor front{ 20950 };
    Rotor rear{ 18650 };

    /// As Rotor::run, for both.
    void run( double seconds, double duty, double inertia );

  private:
    bool present_ = true;
};

} // namespace EmulatedBoard
