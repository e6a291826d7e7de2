// LIST: a singly linked list of untyped pointers, handled through free functions.
#pragma once

#include "selvora/export.h"

// One node; a list is the pointer to its first node, null when empty. The
// list never owns what its nodes point to.
struct LIST {
    void* data;
    LIST* next;
};

// Prepends data (the newest element comes first); a null data adds nothing.
SELVORA_API LIST* ListAdd(LIST* list, void* data);
SELVORA_API int ListCount(LIST* list);
// Adds every element of other in front of list, so they end up reversed.
SELVORA_API LIST* ListMerge(LIST* list, LIST* other);
// A new list with the elements in reverse order.
SELVORA_API LIST* ListDuplicate(LIST* list);
// Unlinks and frees the first node holding data; returns the new head.
SELVORA_API LIST* ListRemove(LIST* list, void* data);
SELVORA_API void ListDestroy(LIST* list);
