// Marks the classes and data that liborva_gpio_utils exports; everything else is hidden.
#pragma once

#if defined(__GNUC__)
#define ORVA_GPIO_EXPORT __attribute__((visibility("default")))
#else
#define ORVA_GPIO_EXPORT
#endif
