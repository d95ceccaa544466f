// Visibility: everything is hidden but what carries this mark.
#pragma once

#define READKIT_EXPORT __attribute__((visibility("default")))
