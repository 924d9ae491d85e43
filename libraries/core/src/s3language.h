#pragma once

// Whether the current language is written from right to left.
[[nodiscard]] bool s3IsRightToLeft();
