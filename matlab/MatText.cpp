#include "MatText.h"

#include <algorithm>

namespace orn {
namespace matlab {

MatText::MatText(const QString& text) : m_bytes(text.toUtf8()), m_columns(m_bytes.size())
{
    const auto continues = [](char byte) { return (static_cast<unsigned char>(byte) & 0xc0) == 0x80; };
    m_storedBytes = m_columns + std::count_if(m_bytes.cbegin(), m_bytes.cend(), continues);
    m_bytes.append(static_cast<int>(m_columns) + 8, '\0');
}

}  // namespace matlab
}  // namespace orn
