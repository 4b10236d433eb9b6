#pragma once

#include <exception>
#include <string>

/// An operation that a driver or an access method does not have. Nothing in the library catches it.
class NotImplementedException : public std::exception {
  public:
    explicit NotImplementedException( const std::string &method );
    ~NotImplementedException() override;

    /// "Not implemented " and the method's name.
    const char *what() const noexcept override;

  private:
    std::string message_;
};
