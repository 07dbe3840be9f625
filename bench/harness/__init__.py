# SPDX-License-Identifier: MIT
"""What the programs of bench/ are made of."""
