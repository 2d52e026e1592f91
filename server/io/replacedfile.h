#ifndef SERVER_REPLACEDFILE_H
#define SERVER_REPLACEDFILE_H

#include <string>

namespace server {

/// A file whose content is replaced as a whole: whoever reads it finds the old content or the new one.
class ReplacedFile
{
public:
    /// Looks whether the file at @p path can be replaced, or made. Returns why not, or an empty text.
    std::string open(const std::string& path);

    /// Gives the file this content. Returns why that is not possible, or an empty text.
    std::string write(const std::string& content);

    /// Removes what write() has written.
    void remove();

private:
    std::string mPath; ///< behind all symbolic links
    bool mWritten = false;
};

} // namespace server

#endif
