#pragma once

#include "HostTool/Check/Values.h"

#include <string_view>
#include <unordered_map>
#include <vector>

namespace HostTool::Check {

/// The objects of a document that have a key more than once.
class Twins {
  public:
    explicit Twins( const Value &root );

    bool empty() const { return twins_.empty(); }
    bool has( const Value &object ) const { return twins_.contains( &object ); }
    /// The values of keys that stood there before.
    const std::vector<const Value *> &of( const Value &object ) const {
        return twins_.at( &object );
    }
    static std::string_view nameOf( const Value &object, const Value &member );

  private:
    void collect( const Value &value );
    void collectFew( const Value &object );
    void collectMany( const Value &object );

    std::unordered_map<const Value *, std::vector<const Value *>> twins_;
};

} // namespace HostTool::Check
