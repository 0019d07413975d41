// The preload list: nodes allocated one by one and kept in manifest order.

#include "tf_list.h"

#include <stdio.h>
#include <stdlib.h>

#include <platform/log.h>

namespace orba::tfdata {

namespace {

tf_data_list* NewNode(const char* relative) {
  auto* node = static_cast<tf_data_list*>(calloc(1, sizeof(tf_data_list)));
  // A name too long for the node is cut at the node's size; snprintf keeps it terminated.
  snprintf(node->path, sizeof(node->path), "/sdcard/%s", relative);
  return node;
}

}  // namespace

const char* ListBuilder::AppendRelative(const char* relative) {
  tf_data_list* node = NewNode(relative);
  if (tail_ == nullptr) {
    head_ = node;
  } else {
    tail_->next = node;
  }
  tail_ = node;
  return node->path;
}

tf_data_list* ListBuilder::Release() {
  tf_data_list* head = head_;
  head_ = nullptr;
  tail_ = nullptr;
  return head;
}

void ListBuilder::Adopt(tf_data_list* head) {
  if (head == nullptr) return;
  if (tail_ == nullptr) {
    head_ = head;
  } else {
    tail_->next = head;
  }
  tail_ = head;
  while (tail_->next != nullptr) tail_ = tail_->next;
}

}  // namespace orba::tfdata

extern "C" ORBA_EXPORT void tf_data_list_free(tf_data_list* list) {
  ORBA_LOGD("++");
  while (list != nullptr) {
    tf_data_list* next = list->next;
    free(list);
    list = next;
  }
  ORBA_LOGD("--");
}
