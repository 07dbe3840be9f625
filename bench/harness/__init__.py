# SPDX-License-Identifier: MIT
"""What bench/run and bench/link are made of."""
