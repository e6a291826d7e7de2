/// \file
/// LIST: a singly linked list of untyped pointers, handled through free functions.
#pragma once

#include "selvora/export.h"

/// One node; a list is the pointer to its first node, null when empty. The
/// list never owns what its nodes point to. Nodes come from the C heap
/// (malloc) and are freed by ListRemove and ListDestroy.
struct LIST {
    void* data;  ///< The element; never null in a list built by ListAdd.
    LIST* next;  ///< The following node, or null at the end.
};

/// Prepends data (the newest element comes first); a null data adds nothing.
/// Returns the new head, or \p list unchanged when data is null or no node
/// could be allocated.
SELVORA_API LIST* ListAdd(LIST* list, void* data);
/// Number of nodes; 0 for a null list.
SELVORA_API int ListCount(LIST* list);
/// Adds every element of other in front of list, so they end up reversed.
/// Returns the new head; \p other is left as it was (its nodes are not reused).
SELVORA_API LIST* ListMerge(LIST* list, LIST* other);
/// A new list with the elements in reverse order. The caller owns its nodes.
SELVORA_API LIST* ListDuplicate(LIST* list);
/// Unlinks and frees the first node holding data; returns the new head.
/// Nothing changes when no node holds it.
SELVORA_API LIST* ListRemove(LIST* list, void* data);
/// Frees every node of the list (not what they point to). A null list is fine.
SELVORA_API void ListDestroy(LIST* list);
