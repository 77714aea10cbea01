#include "launcher/WantedHeight.h"

#include <algorithm>
#include <utility>

int WantedHeight::choose(int current, int smallest, int content)
{
    if (m_asked != 0 && current != m_asked) {
        if (current > smallest && current != m_askedBefore)
            m_chosen = current;
        else if (current > smallest || current < m_asked)
            m_chosen = 0;
    }
    const int height = std::max(m_chosen, content);
    if (height != m_asked)
        m_askedBefore = std::exchange(m_asked, height);
    return height;
}
