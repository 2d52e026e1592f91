#ifndef CHECKEDINDEX_H
#define CHECKEDINDEX_H

#include <QtGlobal>
#include <vector>

/// The element of @p list at @p index. A wrong index ends the program, in every build type, with a message
/// that names the list, as @p name, and the index.
template <class Element>
const Element& checkedAt(const std::vector<Element>& list, qint64 index, const char* name)
{
    if (index < 0 || index >= static_cast<qint64>(list.size())) {
        qFatal("Index %lld is outside %s, which holds %zu", static_cast<long long>(index), name, list.size());
    }
    return list[static_cast<size_t>(index)];
}

#endif
