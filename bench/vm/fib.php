<?php
function fib($n)
{
    if ($n < 2)
        return $n;
    return fib($n - 1) + fib($n - 2);
}

$last = (int)$argv[1];
$total = 0;
for ($n = $last - 8; $n <= $last; $n++)
    $total += fib($n);
echo $total, "\n";
