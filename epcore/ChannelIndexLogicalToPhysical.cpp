#include <ep/ChannelIndexLogicalToPhysical.h>

namespace ep {

int ChannelIndexLogicalToPhysical(int channel, const SxImageBuf& image)
{
    const bool reversed = image.formatCode == FormatCodeReversedColors && image.channels >= 3;
    return reversed && (channel == 0 || channel == 2) ? 2 - channel : channel;
}

}  // namespace ep
