<?php
$rounds = (int)$argv[1];
$size = 1000000;
$a = [];
$total = 0;
for ($round = 0; $round < $rounds; $round++) {
    for ($i = 1; $i <= $size; $i++)
        $a[$i] = 1;
    for ($i = 2; $i <= 1000; $i++) {
        if ($a[$i]) {
            for ($j = $i * $i; $j <= $size; $j += $i)
                $a[$j] = 0;
        }
    }
    for ($i = 1; $i <= $size; $i++)
        $total += $a[$i];
}
echo $total, "\n";
