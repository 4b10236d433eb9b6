#pragma once

#include <string>

/// A temporary board folder with an empty topology; goes when the object goes.
class BoardFolder {
  public:
    BoardFolder();
    ~BoardFolder();
    BoardFolder( const BoardFolder & ) = delete;
    BoardFolder &operator=( const BoardFolder & ) = delete;

    const std::string &path() const { return path_; }
    std::string file( const std::string &name ) const { return path_ + "/" + name; }

    void topology( const std::string &text ) const { write( "topology.json", text ); }
    void devices( const std::string &text ) const { write( "devices.json", text ); }
    void write( const std::string &name, const std::string &text ) const;

  private:
    std::string path_;
};

/// A socket that is listened on, which is all that a probe of a server wants to see.
class ListeningSocket {
  public:
    explicit ListeningSocket( const std::string &path );
    ~ListeningSocket();
    ListeningSocket( const ListeningSocket & ) = delete;
    ListeningSocket &operator=( const ListeningSocket & ) = delete;

    /// Nobody listens any more, and the file stays.
    void die();

  private:
    int fd_;
};
