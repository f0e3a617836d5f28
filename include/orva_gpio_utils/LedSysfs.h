// Status LED made of LED-class (or LED-driver) attribute files, one or more per colour channel:
// one colour is lit at a time, with the value on its files and 0 on every other colour's files.
// The board's files, the current colour and the last value written live in a process-wide table
// row, so every LedSysfs of the process on one board shares them.
#pragma once

#include "orva_gpio_utils/BaseLed.h"

class ORVA_GPIO_EXPORT LedSysfs : public BaseLed {
public:
    // One row of the board table: the files of each colour and the state shared by the board's faces.
    struct SysfsConfig;

    LedSysfs();
    ~LedSysfs() override;

    // fg becomes the colour that takes the value (when the board has files for it), and the last
    // value written is written again at once in the new colour. Colours 1..15.
    bool setColor(Color fg, Color bg) override;
    // Whether the board has a row in the table; looks at no file.
    bool exists() const override;
    bool isBinary() const override;
    bool hasAutoMode() const override;
    bool isManagedByMcu() const override;
    // Binds the face to the board's row (none on other boards); always succeeds.
    bool initGPIO() override;
    int rangeMin() const override;
    // 99 on every board.
    int rangeMax() const override;
    // Device value 0..99 to the current colour's files, 0 to every other colour's files; each file
    // opened, written and closed again.
    bool writeValue(int value) override;
    // The last value written with success by any face on this board (-1 before the first); reads
    // no file.
    bool readValue(int& value) const override;
    bool writeAutoMode() override;
    bool readAutoMode(bool& enabled) override;

protected:
    SysfsConfig* _sysfsConfig;  // the board's row (not owned); null until initGPIO finds one
};
