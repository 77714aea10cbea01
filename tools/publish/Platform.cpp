#include "publish/Platform.h"

#include "publish/Addresses.h"

namespace publish {

QString Platform::label() const
{
    return os + u' ' + architecture;
}

QString Platform::folderName() const
{
    return addresses::segment(os + u'-' + architecture) + u'/';
}

} // namespace publish
