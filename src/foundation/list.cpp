#include "selvora/foundation/list.h"

#include <cstdlib>

LIST* ListAdd(LIST* list, void* data) {
    if (!data) return list;
    LIST* node = static_cast<LIST*>(std::malloc(sizeof(LIST)));
    if (!node) return list;
    node->data = data;
    node->next = list;
    return node;
}

int ListCount(LIST* list) {
    int count = 0;
    for (; list; list = list->next) ++count;
    return count;
}

LIST* ListMerge(LIST* list, LIST* other) {
    for (; other; other = other->next) list = ListAdd(list, other->data);
    return list;
}

LIST* ListDuplicate(LIST* list) { return ListMerge(nullptr, list); }

LIST* ListRemove(LIST* list, void* data) {
    for (LIST** link = &list; *link; link = &(*link)->next) {
        if ((*link)->data == data) {
            LIST* node = *link;
            *link = node->next;
            std::free(node);
            break;
        }
    }
    return list;
}

void ListDestroy(LIST* list) {
    while (list) {
        LIST* next = list->next;
        std::free(list);
        list = next;
    }
}
